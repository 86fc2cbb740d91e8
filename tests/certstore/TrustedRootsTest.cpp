#include <sys/inotify.h>
#include <unistd.h>

#include "certstore/SystemCerts.h"
#include "support/roots/ClsTrustedRoots.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

constexpr const char* kBundle1 = "CN=Bundle 1, O=Example Org, C=XX";
constexpr const char* kRoot = "CN=Example Root, O=Example Org, C=XX";

class TrustedRootsTest : public StoreTest {
protected:
    ~TrustedRootsTest() override { std::filesystem::remove(m_bundle); }

    // The bundle is a copy: other tests, which may run at the same time, do not open it.
    void useBundle(const char* file) {
        std::filesystem::copy_file(testfiles::data(file), m_bundle,
                                   std::filesystem::copy_options::overwrite_existing);
        certstore::setCaBundlePath(m_bundle.c_str());
    }
    static X509Certificate* find(SystemCerts& store, const char* subject) {
        XString dn;
        dn.appendUtf8(subject);
        return store.findBySubjectDN2(dn, dn, false, g_quiet);
    }

    const std::string m_bundle = testing::TempDir() + "bundle-" + std::to_string(getpid()) + ".pem";
};

// Counts how often a file has been opened since. Equal events in a row would come as one, so the
// closing is watched too.
class OpenCounter {
public:
    explicit OpenCounter(const std::string& path) : m_queue(inotify_init1(IN_NONBLOCK)) {
        EXPECT_GE(inotify_add_watch(m_queue, path.c_str(), IN_OPEN | IN_CLOSE), 0);
    }
    ~OpenCounter() { close(m_queue); }

    int count() {
        inotify_event event;
        while (read(m_queue, &event, sizeof event) == sizeof event)
            m_count += (event.mask & IN_OPEN) != 0;
        return m_count;
    }

private:
    int m_queue, m_count = 0;
};

TEST_F(TrustedRootsTest, AKeyIdentifierThatIsGivenMustFit) {
    trust({&cert("root.pem")});
    for (const std::string& keyId : {keyIdOf(cert("root.pem")), std::string("AB")}) {
        DataBuffer der;
        bool bySubject = false, byKey = false;
        TrustedRoots::isTrustedRoot("EC", keyId.c_str(), kRoot, der, bySubject, g_quiet);
        TrustedRoots::isTrustedRoot_ski(keyId.c_str(), der, byKey, g_quiet);
        EXPECT_TRUE(bySubject == (keyId != "AB") && byKey == bySubject);
    }
}

TEST_F(TrustedRootsTest, TheBundleIsOpenedOnceAndOnlyWhenAllowed) {
    const std::tuple<const char*, bool, bool, bool, int> kRows[] = {
        {"allowed", true, true, false, 1},
        {"the system's roots are not trusted", false, true, false, 0},
        {"no search by itself", true, false, false, 0},
        {"roots are loaded already", true, true, true, 0},
    };
    for (const auto& [sentence, trust, search, loaded, opens] : kRows) {
        SCOPED_TRACE(sentence);
        SysTrustedRoots::removeAll();
        _zvSettings::m_trustSystemCaRoots = trust;
        _zvSettings::m_autoSearchOsCertStores = search;
        SysTrustedRoots::m_alreadyLoaded = loaded;
        useBundle("bundle-mixed.pem");
        certtools::trust({&cert("root.pem")});
        OpenCounter counter(m_bundle);
        SystemCerts first;
        EXPECT_TRUE(find(first, kRoot) != nullptr && counter.count() == 0) << "the application's";
        for (const char* subject : {kBundle1, "CN=Bundle 4, O=Example Org, C=XX"}) {
            SystemCerts store;
            EXPECT_EQ(find(store, subject) != nullptr, opens == 1);
            EXPECT_EQ(find(store, "CN=Nobody"), nullptr);
        }
        EXPECT_EQ(counter.count(), opens);
    }
}

TEST_F(TrustedRootsTest, AMissingBundleIsTriedAgainSilently) {
    certstore::setCaBundlePath(m_bundle.c_str());
    SystemCerts store;
    LogText log;
    EXPECT_FALSE(store.addFromTrustedRootsBySki("AB", log));
    EXPECT_EQ(log.getText(), "addFromTrustedRootsBySki:\n");
    useBundle("bundle-crlf.pem");
    for (const std::uintmax_t size : {(64U << 20) + 1, 64U << 20}) {
        std::filesystem::resize_file(m_bundle, size);
        EXPECT_EQ(store.addFromTrustedRootsBySki(keyIdOf(cert("root.pem")).c_str(), g_quiet),
                  size == 64U << 20);
    }
}

TEST_F(TrustedRootsTest, ARootMayDisplaceTheCertificateWhoseIssuerIsSought) {
    X509Certificate &leaf = cert("no-ki.pem"), &root = withSerialOf(leaf, cert("root.pem"));
    trust({&root});
    const std::string dn = dnOf(leaf);
    SystemCerts store, other;
    add(store, {&leaf});
    add(other, {&cert("no-ki.pem")});
    m_kept.clear();
    // Both have the same key, and a store's entry is all that keeps its leaf alive.
    EXPECT_EQ(other.sysCertsFindIssuer(*find(other, dn.c_str()), false, g_quiet), nullptr);
    ExtPtrArray chain;
    bool reachedRoot = true;
    EXPECT_TRUE(
        store.buildCertChain(*find(store, dn.c_str()), true, true, chain, reachedRoot, g_quiet));
    EXPECT_FALSE(reachedRoot);
    ASSERT_EQ(chain.getSize(), 1);
    EXPECT_EQ(dnOf(*static_cast<CertificateHolder*>(chain.elementAt(0))->getCertPtr(g_quiet)), dn);
}

}  // namespace
