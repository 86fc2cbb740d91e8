// Every allocation of every operation fails, alone and with all that follow it. The operation says
// so, lets its locks and log contexts go and keeps no memory; what it has not finished is missing
// and never wrong, and it does its work when it is asked again.

#include <functional>
#include <future>
#include <iostream>

#include "certstore/SystemCerts.h"
#include "support/vault/CertMgr.h"
#include "tests/certstore/CertTools.h"
#include "tests/common/WatchedMemory.h"

using namespace certtools;
using watched::Failing;

namespace {

// What one run of an operation works on, and the operations.
struct World : StoreTest {
    World() {
        leaf.getDEREncodedCert(der);
        leaf.getEmailAddress(email, g_quiet);
        leaf.getIssuerPart("CN", issuer, g_quiet);
        dn.appendUtf8(dnOf(leaf).c_str());
        testfiles::loadFile("pfx-legacy.p12", pfx);
        testfiles::loadPemDer("long.key", keyDer);
        add(store, {&middle, &idA});
        add(repository, {&middle, &idA});
        trust({&root});
        certstore::setCaBundlePath(bundle.c_str());
    }
    ~World() override {
        TrustedRoots::removeAll();
        SysTrustedRoots::removeAll();
    }
    void TestBody() override {}

    // Whether all finders find the leaf; none gives another certificate in its place.
    bool isComplete() {
        const Certs found = {store.findBySubjectKeyId(keyId.c_str(), g_quiet),
                             store.findBySubjectDN2(dn, dn, false, g_quiet),
                             store.findByEmailAddr(email.getUtf8(), false, g_quiet),
                             store.findCertificate(serial.c_str(), issuer.getUtf8(), 0, g_quiet)};
        for (X509Certificate* cert : found)
            EXPECT_TRUE(!cert || testfiles::derOf(*cert) == testfiles::derOf(leaf));
        return std::ranges::count(found, nullptr) == 0;
    }

    // Index entries are made in this order, and none is taken back.
    void expectOrder() {
        CertRepository& in = repository;
        X509Certificate* const third = in.getNthRepositoryCert(2, g_quiet);
        const bool entries[] = {
            in.crpFindCert(serial.c_str(), issuer.getUtf8(), nullptr, g_quiet) != nullptr,
            in.crpFindBySubjectKeyId(keyId.c_str(), g_quiet) != nullptr,
            in.crpFindBySubjectDN(dn.getUtf8(), g_quiet) != nullptr,
            third && keyIdOf(*third) == keyId,
            in.crpFindIssuer0(leaf, g_quiet) != nullptr,
            in.crpFindByEmailAddr(email, g_quiet) != nullptr};
        EXPECT_TRUE(std::is_sorted(std::rbegin(entries), std::rend(entries)));
        EXPECT_EQ(in.getNthRepositoryCert(0, g_quiet), &middle);
        EXPECT_EQ(store.findBySubjectKeyId(keyIdOf(middle).c_str(), g_quiet), &middle);
    }

    void expectSound() {
        // Another thread must get both locks.
        auto other = std::async(std::launch::async, [this] { expectOrder(); });
        if (other.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            ADD_FAILURE() << "a lock is still held";
            std::_Exit(EXIT_FAILURE);
        }
        isComplete();
        EXPECT_TRUE(log.getText().empty() || log.getText().back() == '\n') << "part of a line";
        log.clear();
        log.LogInfo("no context");
        EXPECT_EQ(log.getText(), "no context\n");
        // No certificate has a key that its vault does not know.
        vault.setKeysNotExportable();
        for (int i = 0; i < vault.getNumCerts(); ++i) {
            const ZorvenOwner<CertificateHolder> holder(vault.getNthCert(i, g_quiet));
            EXPECT_FALSE(testfiles::certOf(holder).hasPrivateKey(true, g_quiet));
        }
    }

    const std::string bundle = testfiles::data("bundle-crlf.pem"),
                      pem = testfiles::readFile(testfiles::data("leaf.pem"))
        + testfiles::readFile(testfiles::data("leaf.key"))
        + testfiles::readFile(testfiles::data("key-rsa-traditional.key"));
    const Certs chain = certs("long.pem");
    X509Certificate &leaf = *chain[0], &middle = *chain[1], &root = *chain[2],
                    &again = cert("long.pem"), &idA = cert("same-ski-a.pem"),
                    &idB = cert("same-ski-b.pem"), &noIds = cert("no-ki.pem");
    const std::string keyId = keyIdOf(leaf), serial = serialOf(leaf);
    XString dn, email, issuer;
    DataBuffer der, pfx, keyDer;
    SystemCertsHolder shared;
    SystemCerts& store = *shared.getSystemCertsPtr();
    CertRepository repository, empty;
    CertMgr vault;
    LogText log;
};

// Lets each allocation of an operation fail.
void sweep(const char* name, const std::function<bool(World& w, LogBase& log)>& operation) {
    SCOPED_TRACE(name);
    {
        World once;  // what the process keeps
        once.expectSound();
    }
    long total = 0;
    for (const Failing failing : {Failing::Once, Failing::FromThenOn})
        for (long n = 1, failed = 1; failed != 0; total += failed, ++n) {
            SCOPED_TRACE(n);
            const long blocks = watched::g_liveBlocks;
            {
                World world;
                world.log.m_verboseLogging = failing == Failing::Once;
                bool done = false;
                failed =
                    watched::runFailing(n, failing, [&] { done = operation(world, world.log); });
                world.expectSound();
                EXPECT_TRUE(done || (failed != 0 && operation(world, world.log)));
                add(world.store, {&world.leaf});
                EXPECT_TRUE(world.isComplete());
            }
            EXPECT_EQ(watched::g_liveBlocks, blocks);
        }
    std::cout << name << ": " << total << " failed allocations\n";
    EXPECT_GT(total, 4);
}

TEST(MemoryFailureTest, SetsOfRootsAreMadeAtTheirFirstUse) {
    for (const auto removeAll : {TrustedRoots::removeAll, SysTrustedRoots::removeAll}) {
        EXPECT_EQ(watched::runFailing(1, Failing::Once, removeAll), 1);
        removeAll();
    }
}

TEST(MemoryFailureTest, Additions) {
    sweep("map and array that grow", [](World& w, LogBase&) {
        StringHashMap map(8);
        ExtPtrArraySb array;
        bool done = true;
        for (unsigned int i = 0; i < w.pem.size() && done; i += 200)
            done = map.hashInsertString(w.pem.c_str() + i, "text")
                && array.appendSb(StringBuffer::createNewSB(w.pem.c_str() + i));
        return done;
    });
    sweep("certificates", [](World& w, LogBase& log) {
        return w.repository.addCertificate(&w.leaf, log) && w.repository.addCertificate(&w.idB, log)
            && w.empty.addCertificate(&w.leaf, log);
    });
    sweep("a certificate replaced", [](World& w, LogBase& log) {
        const CritSecExitor lock(w.repository);
        XString subject, key;
        return w.middle.getSubjectDN_noTags(subject, log)
            && w.repository.constructSerialIssuerHashKey(&w.middle, subject, key, log)
            && w.repository.replaceCert(key.getUtf8(), &w.middle, log);
    });
    sweep("roots", [](World& w, LogBase& log) {
        const auto destroy = [](ClsTrustedRoots* set) { set->deleteSelf(); };
        const std::unique_ptr<ClsTrustedRoots, decltype(destroy)> set(
            ClsTrustedRoots::createNewCls());
        XString path;
        path.appendUtf8(w.bundle.c_str());
        return set && set->loadCaCertsPem(path, nullptr, log) && set->activate(log)
            && set->sysActivate(log);
    });
    sweep("certificate in DER, twice", [](World& w, LogBase& log) {
        return w.store.addCertDer(w.der, log) && w.store.addCertDer(w.der, log);
    });
    sweep("stores shared, left and merged", [](World& w, LogBase& log) {
        SystemCertsHolder other;
        other.setSystemCerts(&w.store);
        other.clearSysCerts();
        return other.getSystemCertsPtr() && other.mergeSysCerts(w.shared, log);
    });
}

TEST(MemoryFailureTest, Keys) {
    sweep("PKCS#12", [](World& w, LogBase& log) {
        CertificateHolder* first = nullptr;
        int keys = 0;
        const bool done = w.store.addPfxSource(w.pfx, "password", &first, keys, log);
        return ZorvenOwner<CertificateHolder>(first) && done && keys == 1;
    });
    sweep("vault", [](World& w, LogBase& log) {
        return w.vault.addCertDer(w.der, log) && w.vault.addPem(w.pem, "password", log)
            && w.vault.addPfx(w.pfx, "password", log) && w.store.addCertVault(w.vault, log);
    });
    sweep("private keys", [](World& w, LogBase& log) {
        const char *id = w.keyId.c_str(), *serial = w.serial.c_str(), *name = w.issuer.getUtf8();
        DataBuffer key, cert;
        bool hidden = false;
        return (w.again.hasPrivateKey(false, log)
                || w.again.m_certKey.loadPrivateKeyDer(w.keyDer, log))
            && w.store.addCertificate(&w.leaf, log) && w.store.addCertificate(&w.again, log)
            && w.store.findFirstPrivateKeyInRepos(key, &cert, hidden, log)
            && w.store.findPrivateKeyBySubjectKeyId(id, key, &cert, hidden, log)
            && w.store.findPrivateKey(serial, name, nullptr, key, &cert, hidden, log);
    });
}

TEST(MemoryFailureTest, Searches) {
    sweep("what a certificate tells", [](World& w, LogBase& log) {
        XString text;
        StringBuffer keyId;
        DataBuffer bytes;
        return w.leaf.getSubjectDN(text, log) && w.leaf.getIssuerDN_noTags(text, log)
            && w.leaf.getSubjectPart("CN", text, log) && w.leaf.getSerialNumber(text, log)
            && w.leaf.getSubjectKeyIdentifier(keyId, log) && w.leaf.appendCertKeyType(keyId, log)
            && w.leaf.getAuthorityKeyIdentifier(bytes, &text, log)
            && w.leaf.getPublicKeyAsDER(bytes, log) && w.leaf.verifyCertSignature(&w.middle, log);
    });
    sweep("finders", [](World& w, LogBase& log) {
        w.store.logInMemoryRepository(log);
        return !w.store.findBySubjectDN_x509(w.dn, w.dn, false, log)
            && !w.store.findByEmailAddr(w.email.getUtf8(), false, log)
            && !w.store.findX509(w.serial.c_str(), "Nobody", dnOf(w.root).c_str(), log)
            && !w.store.findBySubjectPart(w.dn.getUtf8(), w.dn, false, log);
    });
    sweep("issuer from the bundle", [](World& w, LogBase& log) {
        return w.store.addCertificate(&w.noIds, log)
            && w.store.sysCertsFindIssuer(w.noIds, false, log);
    });
    sweep("chain", [](World& w, LogBase& log) {
        ExtPtrArray members;
        bool reachedRoot = false;
        return w.store.addCertificate(&w.leaf, log)
            && w.store.buildCertChain(w.leaf, true, false, members, reachedRoot, log) && reachedRoot
            && members.getSize() == 3;
    });
}

}  // namespace
