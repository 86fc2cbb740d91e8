#include "support/pkcs12/Pkcs12.h"

#include <gtest/gtest.h>

#include "support/log/LogText.h"
#include "support/pkcs12/PfxParser.h"
#include "tests/support/Cases.h"

namespace {

using certstore::Pkcs12Limits;

Bytes file(const std::string& name) {
    return toBytes(certstore::bytesOf(testfiles::readFile(testfiles::data(name))));
}

struct Opened {
    Pkcs12 container;
    LogText log;
    bool good, macVerified = false;

    Opened(const Bytes& pfx, const char* password) {
        DataBuffer bytes;
        bytes.append(pfx);
        log.m_verboseLogging = true;
        good = container.pkcs12FromDb(bytes, password, macVerified, log);
    }
    std::string error() const { return testfiles::errorsIn(log.getText()); }
    bool hasKey(int cert) { return container.getPkcs12Cert(cert, log)->hasPrivateKey(false, log); }
};

TEST(Pkcs12, OpensWithTheRightPasswordAndSaysWhyNot) {
    forEachCase("pkcs12.tsv", [](const Row& row) {
        const std::string password = testfiles::textCell(row.at("password")),
                          &note = row.at("note");
        Opened opened(file(row.at("file")), password == "(null)" ? nullptr : password.c_str());
        const int certs = std::stoi(row.at("certs"));
        EXPECT_EQ(opened.good, certs != 0) << opened.log.getText();
        EXPECT_EQ(opened.container.get_NumCerts(), certs);
        EXPECT_EQ(opened.container.get_NumPrivateKeys(), certs == 0 ? 0 : 1);
        EXPECT_NE(opened.log.getText().find(note), std::string::npos) << opened.log.getText();
        EXPECT_EQ(opened.error(), opened.good ? "" : note);
        for (int i = 0; i < certs; ++i)
            EXPECT_EQ(opened.hasKey(i), i == 0);
        EXPECT_EQ(opened.container.getPkcs12Cert(certs, opened.log), nullptr);
        EXPECT_EQ(opened.container.getPkcs12Cert(-1, opened.log), nullptr);
    });
}

TEST(Pkcs12, GivesNamesAndKeysAsTheFileHasThem) {
    DataBuffer key, out;
    testfiles::loadPemDer("leaf.key", key);
    Opened opened(file("pfx-quick.p12"), "password");
    ASSERT_TRUE(opened.good && opened.macVerified);
    EXPECT_STREQ(opened.container.getCertFriendlyName(0), "Alice's key");
    EXPECT_STREQ(opened.container.getKeyFriendlyName(0), "Alice's key");
    EXPECT_STREQ(opened.container.getCertFriendlyName(1), "");
    for (const int none : {-1, 3}) {
        EXPECT_STREQ(opened.container.getCertFriendlyName(none), "");
        EXPECT_STREQ(opened.container.getKeyFriendlyName(none), "");
        EXPECT_EQ(opened.container.getPrivateKey(none), nullptr);
    }
    X509Certificate& cert = *opened.container.getPkcs12Cert(0, opened.log);
    bool notExportable = false;
    ASSERT_TRUE(cert.getPrivateKeyAsDER(out, notExportable, opened.log));
    EXPECT_TRUE(out.equals(key));
    opened.container.setKeysNotExportable();
    EXPECT_FALSE(cert.getPrivateKeyAsDER(out, notExportable, opened.log));
    EXPECT_TRUE(notExportable);
}

// Files put together by hand. Without a password it is null.
TEST(Pkcs12, KeysGoToTheirCertificatesWhateverIdentifiersSay) {
    forEachCase("pkcs12-keys.tsv", [](const Row& row) {
        const std::string& password = row.at("password");
        Opened opened(hexOf(row, "file"), password.empty() ? nullptr : password.c_str());
        EXPECT_EQ(opened.error(), row.at("errors"));
        EXPECT_EQ(opened.good, row.at("errors").empty());
        EXPECT_FALSE(opened.macVerified);
        std::string keys;
        for (int i = 0; i < opened.container.get_NumCerts(); ++i)
            keys.append(i == 0 ? "" : " ").append(opened.hasKey(i) ? "yes" : "no");
        EXPECT_EQ(keys, row.at("keys"));
    });
}

TEST(Pkcs12, TakesAPasswordThatIsNoUtf8AsLatin1) {
    const certstore::PfxPassword latin1("p\xe4"), utf8("p\xc3\xa4");
    EXPECT_EQ(toBytes(latin1.bmpBytes(0)), toBytes(utf8.bmpBytes(0)));
}

// The error that reading gives, and the work done by then.
std::string parse(const Bytes& pfx, const Pkcs12Limits& limits, std::uint64_t& work,
                  const char* text = "password") {
    const certstore::PfxPassword password(text);
    LogText log;
    certstore::PfxParser parser(limits, log);
    certstore::PfxItems items;
    bool macVerified = false;
    const bool good = parser.parse(pfx, password, items, macVerified);
    work = parser.workDone();
    return good ? "" : testfiles::errorsIn(log.getText());
}

// Where no other limit of work is given the usual one holds. An empty password has two forms, each
// of which is charged.
TEST(Pkcs12, RefusesBombsByTheNameOfTheLimitBeforeAnyWork) {
    forEachCase("pkcs12-bombs.tsv", [](const Row& row) {
        Pkcs12Limits limits;
        if (!row.at("limit").empty())
            limits.kdfWork = std::stoull(row.at("limit"));
        std::uint64_t work = 1;
        EXPECT_NE(parse(hexOf(row, "file"), limits, work, row.at("password").c_str())
                      .find(row.at("error")),
                  std::string::npos);
        EXPECT_EQ(work, std::stoull(row.at("work")));
    });
}

// Work that shows only after decryption is charged before it is done.
TEST(Pkcs12, ChargesWhatDecryptionReveals) {
    const Bytes pfx = file("pfx-modern.p12");
    // MAC: 1 a hash computation and iteration; the safe and the key, HMAC-SHA-256 for 32 bytes: 2.
    for (const std::uint64_t iterations : {1U, 2U, 3U, 4U, 5U, 6U}) {
        Pkcs12Limits limits;
        limits.kdfWork = 2048 * iterations - 1;
        std::uint64_t work = 0;
        EXPECT_EQ(parse(pfx, limits, work).empty(), iterations > 5);
        EXPECT_LE(work, limits.kdfWork);
    }
}

}  // namespace
