// Certificates that are displaced while others, or the displacing operation itself, work on them:
// the address and thread sanitizers see what goes wrong here.

#include <atomic>
#include <thread>

#include "certstore/SystemCerts.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SharedCertificatesTest = StoreTest;

TEST_F(SharedCertificatesTest, AnAdditionMayLetGoTheLastOtherHolderOfItsCertificate) {
    SystemCerts store;
    add(store, {&cert("renewed-a.pem"), &cert("renewed-b.pem")});
    const std::string keyId = keyIdOf(cert("renewed-b.pem"));
    m_kept.clear();
    // The second lives through its key identifier alone, and adding it replaces that entry.
    X509Certificate* borrowed = store.findBySubjectKeyId(keyId.c_str(), g_quiet);
    EXPECT_TRUE(store.addCertificate(borrowed, g_quiet));
    EXPECT_EQ(serialOf(*store.findBySubjectKeyId(keyId.c_str(), g_quiet)), "2EE3");
}

TEST_F(SharedCertificatesTest, AHolderMadeUnderTheLockKeepsADisplacedCertificate) {
    SystemCerts store;
    X509Certificate &a = cert("same-serial-a.pem"), &rsa = cert("rsa-leaf.pem");
    add(store, {&a, &rsa});
    const std::string keyId = keyIdOf(rsa), dn = dnOf(a);
    DataBuffer pkcs8;
    testfiles::loadPemDer("rsa-leaf.key", pkcs8);
    std::atomic<int> good{0};
    const auto displace = [&] {
        for (int i = 0; i < 100; ++i)
            for (const char* file : {"same-serial-b.pem", "rsa-leaf.pem", "same-serial-a.pem"})
                add(store, {&testfiles::certOf(testfiles::loadCert(file))});
    };
    const auto use = [&] {
        _zvPublicKey key;
        key.loadPrivateKeyDer(pkcs8, g_quiet);
        XString subject;
        subject.appendUtf8(dn.c_str());
        for (int i = 0; i < 300; ++i) {
            CertificateHolder displaced(nullptr), keyless(nullptr);
            {
                const CritSecExitor lock(store);
                displaced.setCert(store.findBySubjectDN2(subject, subject, false, g_quiet));
                keyless.setCert(store.findBySubjectKeyId(keyId.c_str(), g_quiet));
            }
            X509Certificate& leaf = *keyless.getCertPtr(g_quiet);
            leaf.setPrivateKeyFromObj(key, g_quiet);  // the first of two threads succeeds
            DataBuffer der;
            bool notExportable = false;
            good += leaf.getPrivateKeyAsDER(der, notExportable, g_quiet) && der.equals(pkcs8)
                && serialOf(*displaced.getCertPtr(g_quiet)) == "5A17";
        }
    };
    std::thread threads[] = {std::thread(displace), std::thread(use), std::thread(use)};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 600);
}

}  // namespace
