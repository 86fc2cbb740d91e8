#include "certstore/SystemCerts.h"

#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SystemCertsTest = StoreTest;

TEST_F(SystemCertsTest, HoldersShareLeaveAndMergeStores) {
    X509Certificate &plain = cert("serial-plain.pem"), &other = cert("same-serial-b.pem");
    SystemCertsHolder keeper, holder;
    SystemCerts* shared = keeper.getSystemCertsPtr();
    add(*shared, {&other, &cert("serial-00.pem"), &plain, &plain});
    keeper.setSystemCerts(shared);
    {
        SystemCertsHolder guest;
        SystemCerts* first = guest.getSystemCertsPtr();
        first->incRefCount();
        for (SystemCerts* store : {shared, shared, static_cast<SystemCerts*>(nullptr)}) {
            guest.setSystemCerts(store);
            EXPECT_EQ(guest.getSystemCertsPtr(), shared);
            EXPECT_EQ(shared->getRefCount(), 2);
        }
        EXPECT_EQ(first->getRefCount(), 1) << "the holder has let it go";
        first->decRefCount();
        guest.clearSysCerts();
        EXPECT_NE(guest.getSystemCertsPtr(), shared);
        EXPECT_EQ(guest.getSystemCertsPtr()->getRefCount(), 1);
        EXPECT_EQ(shared->getRefCount(), 1);
        guest.setSystemCerts(shared);
        expectLog("", {}, [&](LogBase& log) {
            EXPECT_TRUE(guest.mergeSysCerts(keeper, log)) << "one store, nothing to do";
            EXPECT_TRUE(guest.mergeSysCerts(guest, log));
        });
    }
    EXPECT_EQ(shared->getRefCount(), 1) << "a holder takes its reference along";
    add(*holder.getSystemCertsPtr(), {&cert("same-serial-a.pem")});
    EXPECT_TRUE(holder.mergeSysCerts(keeper, g_quiet));
    EXPECT_TRUE(holder.mergeSysCerts(*std::make_unique<SystemCertsHolder>(), g_quiet));
    LogText log;
    holder.getSystemCertsPtr()->logInMemoryRepository(log);
    EXPECT_EQ(log.getText(),
              "certRepository:\n    cert: 5A17:Example Root\n    cert: 00A1B2C3:Example CA\n"
              "    cert: 0A1B:Example CA\n    cert: 0A1B:Example CA\n");
    SystemCerts& merged = *holder.getSystemCertsPtr();
    EXPECT_EQ(merged.findCertificate("0A1B", "Example CA", nullptr, g_quiet), &plain) << "shared";
    EXPECT_EQ(merged.findCertificate("5A17", "Example Root", nullptr, g_quiet), &other)
        << "another public key takes the place";
}

// The address sanitizer sees what goes wrong here.
TEST_F(SystemCertsTest, AnAdditionMayLetGoTheLastOtherHolderOfItsCertificate) {
    SystemCerts store;
    add(store, {&cert("renewed-a.pem"), &cert("renewed-b.pem")});
    const std::string keyId = keyIdOf(cert("renewed-b.pem"));
    m_kept.clear();
    // The second lives through its key identifier alone, and adding it replaces that entry.
    X509Certificate* borrowed = store.findBySubjectKeyId(keyId.c_str(), g_quiet);
    EXPECT_TRUE(store.addCertificate(borrowed, g_quiet));
    EXPECT_EQ(serialOf(*store.findBySubjectKeyId(keyId.c_str(), g_quiet)), "2EE3");
}

TEST_F(SystemCertsTest, OperationsNestTheirContexts) {
    X509Certificate& leaf = cert("leaf.pem");
    DataBuffer der;
    leaf.getDEREncodedCert(der);
    DataBuffer cut;
    cut.append(der.getData2(), der.getSize() - 1);
    XString dn, nobody, empty;
    dn.appendUtf8(dnOf(leaf).c_str());
    nobody.appendUtf8("CN=Nobody");
    const std::string serial = serialOf(leaf);
    expectLog(
        "addCertDer:\n    addCertificate_3:\n        constructSerialIssuerHashKey:\n"
        "+       certHashEntryB: $serial:Example Intermediate\n"
        "+       skiHashKey: SubjectKeyId:$ski\n"
        "addCertDer:\n    ERROR: Not a certificate: cannot read certificate at byte 0.\n"
        "addCertificate_2:\n    addCertificate_3:\n        constructSerialIssuerHashKey:\n"
        "+       skiHashKey: SubjectKeyId:$ski\n"
        "+       The cert hash map already contains this skiHashKey...\n"
        "addCertificate_2:\n    addCertificate_3:\n        ERROR: no pcert!\n"
        "mergeSysCerts:\n    addCertificate_3:\n        constructSerialIssuerHashKey:\n"
        "+       certHashEntryB: $serial:Example Intermediate\n"
        "+       skiHashKey: SubjectKeyId:$ski\n"
        "    addCertificate_3:\n        constructSerialIssuerHashKey:\n"
        "+       skiHashKey: SubjectKeyId:$ski\n"
        "+       The cert hash map already contains this skiHashKey...\n"
        "findBySubjectDN:\n"
        "findBySubjectDN_x509:\n    findBySubjectDN:\n"
        "findBySubjectDN_x509:\n    findBySubjectDN:\n        addFromTrustedRootsBySubjectDN:\n"
        "+           keyType: (null)\n+           subjectDN: CN=Nobody\n"
        "findBySubjectOid:\n"
        "findBySubjectPart:\n"
        "findByEmailAddr:\n    crpFindByEmailAddr:\n"
        "findBySubjectKeyId:\n    crpFindBySubjectKeyId:\n+       keyId: SubjectKeyId:AB \n"
        "findX509:\n    findCertificate:\n        serialNum: [$serial]\n"
        "        issuerCN: (null)\n        findCertB:\n            sbCN: Example Intermediate\n"
        "findX509:\n    findCertificate:\n        serialNum: [$serial]\n"
        "        issuerCN: [Wrong]\n        findCertB:\n",
        {{"$serial", serial}, {"$ski", keyIdOf(leaf)}}, [&](LogBase& log) {
            SystemCerts source, store;
            EXPECT_TRUE(source.addCertDer(der, log));
            EXPECT_FALSE(source.addCertDer(cut, log));
            EXPECT_TRUE(source.addCertificate(&leaf, log));
            EXPECT_FALSE(source.addCertificate(nullptr, log));
            EXPECT_TRUE(store.mergeSysCerts(source, log));
            EXPECT_EQ(store.findBySubjectDN2(empty, empty, true, log), nullptr);
            EXPECT_NE(store.findBySubjectDN_x509(dn, empty, true, log), nullptr);
            EXPECT_EQ(store.findBySubjectDN_x509(nobody, empty, false, log), nullptr);
            EXPECT_EQ(store.findBySubjectOid(dn, dn, false, log), nullptr);
            EXPECT_EQ(store.findBySubjectPart("CN", dn, false, log), nullptr);
            EXPECT_NE(store.findByEmailAddr("ALICE.example@example.org", false, log), nullptr);
            EXPECT_EQ(store.findBySubjectKeyId("AB ", log), nullptr);
            EXPECT_NE(store.findX509(serial.c_str(), nullptr, "CN=Example Intermediate", log),
                      nullptr);
            EXPECT_EQ(store.findX509(serial.c_str(), "Wrong", nullptr, log), nullptr);
        });
}

}  // namespace
