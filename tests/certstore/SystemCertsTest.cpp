#include "certstore/SystemCerts.h"

#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SystemCertsTest = StoreTest;

TEST_F(SystemCertsTest, HoldersShareAndLeaveStores) {
    SystemCertsHolder keeper;
    SystemCerts* shared = keeper.getSystemCertsPtr();
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
        LogText log;
        EXPECT_TRUE(guest.mergeSysCerts(keeper, log)) << "one store, nothing to do";
        EXPECT_TRUE(guest.mergeSysCerts(guest, log));
        EXPECT_EQ(log.getText(), "");
    }
    EXPECT_EQ(shared->getRefCount(), 1) << "a holder takes its reference along";
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

TEST_F(SystemCertsTest, EmptySourcesAddNothing) {
    const ZorvenOwner<CertificateHolder> preset = testfiles::loadCert("root.pem");
    CertificateHolder* out = preset.get();
    SystemCerts store;
    DataBuffer empty;
    int keys = 7;
    LogText log;
    EXPECT_FALSE(store.addPfxSource(empty, "password", &out, keys, log));
    EXPECT_EQ(out, preset.get());
    EXPECT_EQ(keys, 0);
    EXPECT_TRUE(store.addCertVault(*std::make_unique<CertMgr>(), g_quiet));
    EXPECT_TRUE(store.addPkcs12(*std::make_unique<Pkcs12>(), nullptr, g_quiet));
    EXPECT_EQ(log.getText(), "addPfxSource:\n");
}

}  // namespace
