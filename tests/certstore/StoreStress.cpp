// Threads that share stores, each through holders of its own, do everything at random. The results
// are checked here, the rest is for the thread and address sanitizers.
//
//     store_stress [seconds] [seed]

#include <chrono>
#include <iostream>
#include <latch>
#include <list>
#include <random>
#include <shared_mutex>
#include <thread>

#include "certstore/SystemCerts.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;
using testfiles::certOf;
using testfiles::loadCert;
using Holder = ZorvenOwner<CertificateHolder>;

namespace {

constexpr int kThreads = 4, kSteps = 200;
// The last store is not merged, and ends with the last of its threads.
constexpr std::size_t kMerged = 3, kStores = kMerged + 1;
constexpr const char* kCA = "Example Intermediate";

// What the threads of a round share.
struct Round {
    SystemCertsHolder stores[kStores];
    Holder leaf = loadCert("leaf.pem"), middle = loadCert("intermediate.pem"),
           root = loadCert("root.pem");
    std::latch ready{kThreads + 1};
    // Of each other's stores only one thread may merge at a time.
    std::shared_mutex merging;
    // Each merge may double what a store counts.
    std::atomic<int> mergesLeft{10};
};

// One thread, with holders of its own.
class Worker {
public:
    Worker(Round& round, unsigned int seed)
        : m_round(round), m_leaf(certOf(round.leaf)), m_random(seed) {
        testfiles::loadPemDer("rsa-leaf.key", m_pkcs8);
        m_key.loadPrivateKeyDer(m_pkcs8, m_log);
        for (std::size_t i = 0; i < kStores; ++i) {
            m_holders[i].setSystemCerts(round.stores[i].getSystemCertsPtr());
            add(at(i), {&m_leaf, &certOf(round.middle), &certOf(round.root)});
        }
    }

    void run() {
        static constexpr void (Worker::*kKinds[])() = {
            &Worker::addOwn, &Worker::addAgain, &Worker::merge,    &Worker::buildChain,
            &Worker::find,   &Worker::useKey,   &Worker::useRoots, &Worker::useGuest,
        };
        m_round.ready.arrive_and_wait();
        for (int i = 0; i < kSteps; ++i) {
            m_log.clear();
            m_log.m_verboseLogging = pick(2) == 0;
            (this->*kKinds[pick(std::size(kKinds))])();
        }
        m_log.clear();
        m_log.LogInfo("");
        EXPECT_EQ(m_log.getText(), "\n") << "a context is left open";
        expectAdded(kMerged, kMerged);
        m_holders[kMerged].clearSysCerts();
    }

    // What this thread has added to one store is in that or another.
    void expectAdded(std::size_t to, std::size_t in) {
        for (const auto& [store, serial] : m_added)
            EXPECT_TRUE(store != to || at(in).findCertificate(serial.c_str(), kCA, "", m_log));
    }

private:
    std::size_t pick(std::size_t count) { return m_random() % count; }
    SystemCerts& at(std::size_t i) { return *m_holders[i].getSystemCertsPtr(); }
    SystemCerts& any() { return at(pick(kStores)); }

    // Keeps what is found, which others may displace as soon as the lock is given back.
    template <typename Find>
    static Holder hold(SystemCerts& store, Find find) {
        const CritSecExitor lock(store);
        return Holder(CertificateHolder::createFromCert(find(), g_quiet));
    }
    Holder holdByKeyId(SystemCerts& store, const std::string& id) {
        return hold(store, [&] { return store.findBySubjectKeyId(id.c_str(), m_log); });
    }
    Holder holdBySubject(SystemCerts& store, const char* cn) {
        XString dn;
        dn.appendUtf8((std::string("CN=") + cn + ", O=Example Org, C=XX").c_str());
        return hold(store, [&] { return store.findBySubjectDN2(dn, dn, false, m_log); });
    }

    // A leaf with a serial number of its own.
    void addOwn() {
        const std::string_view known = certstore::textOf(m_leaf.getX509Ptr()->serial());
        std::string serial(known);
        for (char& byte : serial)
            byte = static_cast<char>('0' + pick(10));
        DataBuffer der;
        der.append(certstore::bytesOf(testfiles::edited(testfiles::derOf(m_leaf), known, serial)));
        m_added.emplace_back(pick(kStores), hex(certstore::bytesOf(serial)));
        EXPECT_TRUE(at(m_added.back().first).addCertDer(der, m_log));
    }

    // What displaces others, under its serial number or key identifier.
    void addAgain() {
        const char* files[] = {"same-serial-a.pem", "same-serial-b.pem", "rsa-leaf.pem"};
        add(any(), {&certOf(loadCert(files[pick(3)]))});
    }

    void merge() {
        const std::size_t from = pick(kMerged), to = (from + 1 + pick(kMerged - 1)) % kMerged;
        if (pick(8) != 0 || m_round.mergesLeft-- <= 0)
            return;
        std::shared_lock upwards(m_round.merging, std::defer_lock);
        std::unique_lock downwards(m_round.merging, std::defer_lock);
        from < to ? upwards.lock() : downwards.lock();
        EXPECT_TRUE(m_holders[to].mergeSysCerts(m_holders[from], m_log));
    }

    void buildChain() {
        ExtPtrArray chain;
        bool reachedRoot = false;
        EXPECT_TRUE(any().buildCertChain(m_leaf, true, false, chain, reachedRoot, m_log));
        EXPECT_TRUE(reachedRoot && chain.getSize() == 3);
    }

    void find() {
        const Holder twin = holdBySubject(any(), "Same Serial");
        EXPECT_TRUE(!twin || serialOf(certOf(twin)) == "5A17");
        EXPECT_EQ(dnOf(certOf(holdByKeyId(any(), keyIdOf(m_leaf)))), dnOf(m_leaf));
    }

    // Of threads that attach a key to one certificate the first does, and all see it.
    void useKey() {
        const Holder found = holdByKeyId(any(), m_rsaKeyId);
        DataBuffer der;
        bool notExportable = false;
        if (!found)
            return;
        certOf(found).setPrivateKeyFromObj(m_key, m_log);
        EXPECT_TRUE(certOf(found).getPrivateKeyAsDER(der, notExportable, m_log));
        EXPECT_TRUE(der.equals(m_pkcs8));
    }

    void useRoots() {
        SystemCerts own;
        EXPECT_TRUE(holdBySubject(own, "Bundle 1") && holdBySubject(any(), "Bundle 2"));
        trust({&certOf(m_round.root)});
    }

    void useGuest() {
        SystemCertsHolder guest;
        guest.setSystemCerts(&any());
        guest.getSystemCertsPtr()->logInMemoryRepository(m_log);
        guest.clearSysCerts();
        EXPECT_TRUE(guest.mergeSysCerts(m_holders[kMerged], m_log));
    }

    Round& m_round;
    X509Certificate& m_leaf;
    std::mt19937 m_random;
    SystemCertsHolder m_holders[kStores];
    LogText m_log;
    const std::string m_rsaKeyId = keyIdOf(certOf(loadCert("rsa-leaf.pem")));
    DataBuffer m_pkcs8;
    _zvPublicKey m_key;
    std::vector<std::pair<std::size_t, std::string>> m_added;  // store, serial number
};

void runRound(unsigned int seed) {
    Round round;
    std::list<Worker> workers;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < kThreads; ++i)
        threads.emplace_back(&Worker::run, &workers.emplace_back(round, seed + i));
    round.ready.arrive_and_wait();
    round.stores[kMerged].clearSysCerts();
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t store = 0; store < kMerged; ++store)
        for (Worker& worker : workers)
            worker.expectAdded(store, store);
}

}  // namespace

int main(int argc, char** argv) {
    using Clock = std::chrono::steady_clock;
    testing::InitGoogleTest(&argc, argv);
    const auto end = Clock::now() + std::chrono::seconds(argc > 1 ? std::stoi(argv[1]) : 5);
    unsigned long seed = argc > 2 ? std::stoul(argv[2]) : std::random_device()();
    const std::string bundle = testfiles::data("bundle-mixed.pem");
    certstore::setCaBundlePath(bundle.c_str());
    for (long steps = 0; Clock::now() < end && !testing::Test::HasFailure(); seed += kThreads) {
        TrustedRoots::removeAll();
        SysTrustedRoots::removeAll();
        std::cout << steps << " steps; seed " << seed << std::endl;
        runRound(static_cast<unsigned int>(seed));
        steps += kThreads * kSteps;
    }
    return testing::Test::HasFailure() ? 1 : 0;
}
