#include "certstore/SystemCerts.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using SystemCertsSourcesTest = StoreTest;

// What adding one certificate writes to a log that is not verbose, `indent` columns to the right.
std::string added(int count, std::size_t indent, bool direct = false) {
    const std::string blanks(indent, ' '), step(direct ? 0 : 4, ' ');
    std::string text;
    for (int i = 0; i < count; ++i) {
        if (!direct)
            text += blanks + "addCertificate_2:\n";
        text += blanks + step + "addCertificate_3:\n";
        text += blanks + step + "    constructSerialIssuerHashKey:\n";
    }
    return text;
}

void loadPfx(const std::string& file, DataBuffer& pfx) {
    const std::string bytes = testfiles::readFile(testfiles::data(file));
    pfx.append(certstore::bytesOf(bytes));
}

constexpr struct {
    const char* sentence;
    const char *file, *password;
    bool good;
    int certs, keys;
    const char* handedOut;  // the file of the certificate; null: none
    const char* error;
} kRows[] = {
    {"leaf, key and chain: the leaf comes back", "pfx-modern.p12", "password", true, 3, 1,
     "leaf.pem", ""},
    {"no key: the first certificate comes back", "pfx-nokeys.p12", "password", true, 1, 0,
     "rsa-leaf.pem", ""},
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
        loadPfx(row.file, pfx);
        SystemCerts store;
        CertificateHolder* out = reinterpret_cast<CertificateHolder*>(this);
        int keys = 7;
        LogText log;
        EXPECT_EQ(store.addPfxSource(pfx, row.password, &out, keys, log), row.good);
        const ZorvenOwner<CertificateHolder> owner(out);
        const std::string import = row.good ? "    addPkcs12:\n        numCerts: "
                + std::to_string(row.certs) + "\n" + added(row.certs, 8)
                                            : row.error;
        EXPECT_EQ(log.getText(), "addPfxSource:\n    pkcs12FromDb:\n" + import);
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
    EXPECT_EQ(log.getText(), "addPfxSource:\n");
}

TEST_F(SystemCertsSourcesTest, KeysOfAContainerMayBeKeptInTheStore) {
    DataBuffer pfx, key;
    loadPfx("pfx-quick.p12", pfx);
    SystemCerts store;
    {
        Pkcs12 container;
        bool macVerified = false;
        ASSERT_TRUE(container.pkcs12FromDb(pfx, "password", macVerified, g_quiet));
        container.setKeysNotExportable();
        ASSERT_TRUE(store.addPkcs12(container, nullptr, g_quiet));
    }
    bool notExportable = false;
    EXPECT_FALSE(store.findFirstPrivateKeyInRepos(key, nullptr, notExportable, g_quiet));
    EXPECT_TRUE(notExportable);
}

TEST_F(SystemCertsSourcesTest, VaultsAreAddedWhatEverHappens) {
    CertMgr vault;
    DataBuffer pfx;
    loadPfx("pfx-quick.p12", pfx);
    SystemCerts store;
    LogText log;
    EXPECT_TRUE(store.addCertVault(vault, log));
    EXPECT_EQ(log.getText(), "addCertVault:\n");
    ASSERT_TRUE(vault.addPfx(pfx, "password", g_quiet));
    log.clear();
    EXPECT_TRUE(store.addCertVault(vault, log));
    EXPECT_EQ(log.getText(), "addCertVault:\n" + added(3, 4, true));
    DataBuffer key;
    bool notExportable = false;
    EXPECT_TRUE(store.findFirstPrivateKeyInRepos(key, nullptr, notExportable, g_quiet));
}

TEST_F(SystemCertsSourcesTest, DerIsAddedOrRefusedWithItsReason) {
    DataBuffer der;
    cert("root.pem").getDEREncodedCert(der);
    SystemCerts store;
    LogText log;
    EXPECT_TRUE(store.addCertDer(der, log));
    EXPECT_EQ(log.getText(), "addCertDer:\n" + added(1, 4, true));
    log.clear();
    der.shrink(der.getSize() - 1);
    EXPECT_FALSE(store.addCertDer(der, log));
    EXPECT_EQ(log.getText(),
              "addCertDer:\n    ERROR: Not a certificate: cannot read certificate at byte 0.\n");
}

}  // namespace
