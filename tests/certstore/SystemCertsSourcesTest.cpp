#include "certstore/SystemCerts.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SystemCertsSourcesTest = StoreTest;

constexpr struct {
    const char* sentence;
    const char *file, *password;
    bool good;
    int certs, keys;
    const char* handedOut;  // the file of the certificate; null: none
    const char* error;
} kRows[] = {
    {"with a chain: the leaf comes back", "pfx-modern.p12", "password", true, 3, 1, "leaf.pem", ""},
    {"no key: the first comes back", "pfx-nokeys.p12", "password", true, 1, 0, "rsa-leaf.pem", ""},
    {"no certificate", "pfx-nocerts.p12", "password", true, 0, 1, nullptr, ""},
    {"wrong password", "pfx-modern.p12", "passwort", false, 0, 0, nullptr,
     "        ERROR: MAC does not match: wrong password or damaged.\n"
     "    ERROR: Failed to load and parse PCKS12.\n"},
    {"no PKCS#12", "root.pem", "password", false, 0, 0, nullptr,
     "        ERROR: Not PKCS#12.\n    ERROR: Failed to load and parse PCKS12.\n"},
};

TEST_F(SystemCertsSourcesTest, PfxFilesAreAddedWithTheirKeys) {
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.sentence);
        DataBuffer pfx;
        testfiles::loadFile(row.file, pfx);
        SystemCerts store;
        CertificateHolder* out = reinterpret_cast<CertificateHolder*>(this);
        int keys = 7;
        LogText log;
        EXPECT_EQ(store.addPfxSource(pfx, row.password, &out, keys, log), row.good);
        const ZorvenOwner<CertificateHolder> owner(out);
        const std::string added = "    addPkcs12:\n        numCerts: " + std::to_string(row.certs)
            + "\n"
            + testfiles::repeated(row.certs,
                                  "        addCertificate_2:\n            addCertificate_3:\n"
                                  "                constructSerialIssuerHashKey:\n");
        EXPECT_EQ(log.getText(),
                  "addPfxSource:\n    pkcs12FromDb:\n" + (row.good ? added : row.error));
        EXPECT_EQ(keys, row.keys);
        ASSERT_EQ(out != nullptr, row.handedOut != nullptr);
        if (!out)
            continue;
        EXPECT_EQ(serialOf(*out->getCertPtr(log)), serialOf(cert(row.handedOut)));
        DataBuffer key;
        bool marked = false;
        EXPECT_EQ(store.findFirstPrivateKeyInRepos(key, nullptr, marked, log), row.keys != 0);
    }
}

TEST_F(SystemCertsSourcesTest, AnEmptyPfxLeavesTheHolderAsItWas) {
    const ZorvenOwner<CertificateHolder> preset = testfiles::loadCert("root.pem");
    CertificateHolder* out = preset.get();
    SystemCerts store;
    DataBuffer empty;
    int keys = 7;
    LogText log;
    EXPECT_FALSE(store.addPfxSource(empty, "password", &out, keys, log));
    EXPECT_EQ(out, preset.get());
    EXPECT_EQ(keys, 0);
    EXPECT_TRUE(store.addPkcs12(*std::make_unique<Pkcs12>(), nullptr, g_quiet));
    EXPECT_EQ(log.getText(), "addPfxSource:\n");
}

TEST_F(SystemCertsSourcesTest, VaultsAreAddedWhatEverHappens) {
    CertMgr vault;
    DataBuffer pfx;
    testfiles::loadFile("pfx-quick.p12", pfx);
    SystemCerts store;
    LogText log;
    EXPECT_TRUE(store.addCertVault(vault, log));
    EXPECT_EQ(log.getText(), "addCertVault:\n");
    ASSERT_TRUE(vault.addPfx(pfx, "password", g_quiet));
    log.clear();
    EXPECT_TRUE(store.addCertVault(vault, log));
    EXPECT_EQ(log.getText(),
              "addCertVault:\n"
                  + testfiles::repeated(
                      3, "    addCertificate_3:\n        constructSerialIssuerHashKey:\n"));
    DataBuffer key;
    bool notExportable = false;
    EXPECT_TRUE(store.findFirstPrivateKeyInRepos(key, nullptr, notExportable, g_quiet));
}

}  // namespace
