#include "support/pkcs12/Pkcs12.h"

#include <gtest/gtest.h>

#include "support/log/LogNull.h"
#include "support/log/LogText.h"
#include "support/pkcs12/PfxParser.h"
#include "tests/common/DerText.h"
#include "tests/common/TestFiles.h"

namespace {

using certstore::bytesOf;
using certstore::OidBytes;
using certstore::Pkcs12Limits;
using namespace dertext;
using namespace std::string_literals;

constexpr const char* kUnicodePassword = "p\xc3\xa4sswo\xcc\x88rd";

std::string errorIn(const LogText& log) {
    return testfiles::errorsIn(log.getText());
}

TEST(Pkcs12, OpensWithTheRightPasswordAndSaysWhyNot) {
    constexpr const char* kWrong = "MAC does not match: wrong password or damaged.";
    const struct {
        const char *sentence, *file, *password;
        int certs, keys;    // -1: does not open
        const char* error;  // or, when it opens, a note that a verbose log has
    } kCases[] = {
        {"today's defaults", "pfx-modern.p12", "password", 3, 1, ""},
        {"those of old", "pfx-legacy.p12", "password", 3, 1, "MAC matches: password as UTF-8."},
        {"no MAC", "pfx-nomac.p12", "password", 3, 1, "The file has no MAC."},
        {"nothing encrypted, whatever the password", "pfx-plain.p12", "x", 3, 1, ""},
        {"the empty password", "pfx-empty-password.p12", "", 3, 1, "MAC matches: empty password."},
        {"null for the empty password", "pfx-empty-password.p12", nullptr, 3, 1,
         "MAC matches: empty password."},
        {"beyond ASCII, and beyond 16 bits", "pfx-unicode-password.p12",
         "p\xc3\xa4ssw\xc3\xb6rd \xe2\x82\xac\xf0\x9d\x84\x9e", 3, 1, ""},
        {"wrong password", "pfx-modern.p12", "Password", -1, 0, kWrong},
        {"another way to write the letter", "pfx-unicode-password.p12", kUnicodePassword, -1, 0,
         kWrong},
        {"wrong password without MAC", "pfx-nomac.p12", "Password", -1, 0,
         "shrouded key bag 4, PBES2 with PBKDF2 HMAC-SHA-256 and AES-256-CBC: decryption failed."},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.sentence);
        DataBuffer pfx;
        testfiles::loadFile(c.file, pfx);
        Pkcs12 container;
        LogText log;
        log.m_verboseLogging = true;
        bool macVerified = false;
        const bool opened = container.pkcs12FromDb(pfx, c.password, macVerified, log);
        EXPECT_EQ(opened, c.certs >= 0) << log.getText();
        EXPECT_EQ(container.get_NumCerts(), std::max(c.certs, 0));
        EXPECT_EQ(container.get_NumPrivateKeys(), std::max(c.keys, 0));
        EXPECT_NE(log.getText().find(c.error), std::string::npos) << log.getText();
        EXPECT_EQ(errorIn(log), opened ? "" : c.error);
        for (int i = 0; i < container.get_NumCerts(); ++i)
            EXPECT_EQ(container.getPkcs12Cert(i, log)->hasPrivateKey(false, log),
                      i == 0 && c.keys != 0);
        EXPECT_EQ(container.getPkcs12Cert(c.certs, log), nullptr);
    }
}

TEST(Pkcs12, GivesNamesAndKeysAsTheFileHasThem) {
    DataBuffer pfx, key, out;
    testfiles::loadFile("pfx-quick.p12", pfx);
    testfiles::loadPemDer("leaf.key", key);
    Pkcs12 container;
    LogText log;
    bool macVerified = false, notExportable = false;
    ASSERT_TRUE(container.pkcs12FromDb(pfx, "password", macVerified, log)) << log.getText();
    EXPECT_TRUE(macVerified);
    EXPECT_STREQ(container.getCertFriendlyName(0), "Alice's key");
    EXPECT_STREQ(container.getKeyFriendlyName(0), "Alice's key");
    EXPECT_STREQ(container.getCertFriendlyName(1), "");
    ASSERT_TRUE(container.getPkcs12Cert(0, log)->getPrivateKeyAsDER(out, notExportable, log));
    EXPECT_TRUE(out.equals(key));
    container.setKeysNotExportable();
    EXPECT_FALSE(container.getPkcs12Cert(0, log)->getPrivateKeyAsDER(out, notExportable, log));
    EXPECT_TRUE(notExportable);
}

// Every cut, and every changed byte of the first kilobyte, fails with one error or gives the same.
TEST(Pkcs12, DamageIsNoticedOrHarmless) {
    for (const char* file : {"pfx-quick.p12", "pfx-plain.p12", "pfx-legacy.p12"}) {
        DataBuffer good, pfx;
        testfiles::loadFile(file, good);
        const auto readsCleanly = [&](const DataBuffer& bytes) {
            Pkcs12 container;
            LogText log;
            bool macVerified = false;
            const bool opened = container.pkcs12FromDb(bytes, "password", macVerified, log);
            EXPECT_EQ(errorIn(log).empty(), opened) << log.getText();
            EXPECT_EQ(opened, container.get_NumCerts() + container.get_NumPrivateKeys() != 0);
            return opened;
        };
        for (unsigned int size = 0; size < good.getSize(); ++size) {
            pfx.clear();
            pfx.append(good.getData2(), size);
            ASSERT_FALSE(readsCleanly(pfx)) << file << " cut to " << size;
        }
        for (unsigned int at = 0; at < 1024; ++at) {
            pfx.clear();
            pfx.append(good.getData2(), at);
            pfx.appendByte(static_cast<unsigned char>(good.getData2()[at] ^ 0x55));
            pfx.append(good.getData2() + at + 1, good.getSize() - at - 1);
            readsCleanly(pfx);
        }
    }
}

// Files put together here, to declare what no tool would.
// Files put together here, to declare what no tool would.
Bytes number(std::uint64_t value) {
    Bytes content(1, '\0');
    for (int shift = 56; shift >= 0; shift -= 8)
        content += static_cast<char>(value >> shift);
    while (content.size() > 1 && content[0] == 0 && static_cast<signed char>(content[1]) >= 0)
        content.erase(0, 1);
    return der(0x02, content);
}

Bytes pbes2(const Bytes& kdf) {
    const Bytes aes = sequence(oid(OidBytes("2.16.840.1.101.3.4.1.42")) + octets(Bytes(16, 'i')));
    return sequence(oid(OidBytes("1.2.840.113549.1.5.13")) + sequence(kdf + aes));
}

Bytes pbkdf2(std::uint64_t iterations) {
    return sequence(oid(OidBytes("1.2.840.113549.1.5.12"))
                    + sequence(octets("saltsalt") + number(iterations)));
}

Bytes scrypt(std::uint64_t n, std::uint64_t r, std::uint64_t p) {
    return sequence(oid(OidBytes("1.3.6.1.4.1.11591.4.11"))
                    + sequence(octets("saltsalt") + number(n) + number(r) + number(p)));
}

Bytes encryptedSafe(const Bytes& algorithm) {
    const Bytes data = oid(OidBytes("1.2.840.113549.1.7.1"));
    const Bytes info = sequence(data + algorithm + der(0x80, Bytes(32, 'x')));
    return sequence(oid(OidBytes("1.2.840.113549.1.7.6")) + der(0xa0, sequence(number(0) + info)));
}

Bytes plainSafe(const Bytes& bags) {
    return sequence(oid(OidBytes("1.2.840.113549.1.7.1")) + der(0xa0, octets(sequence(bags))));
}

Bytes pfxOf(const Bytes& safes) {
    return sequence(number(3) + plainSafe(safes));
}

Bytes shroudedKey(const Bytes& algorithm) {
    const Bytes key = sequence(algorithm + octets(Bytes(32, 'x')));
    return sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.2")) + der(0xa0, key));
}

Bytes nestedSafes(int depth) {
    Bytes bag = shroudedKey(pbes2(pbkdf2(1)));
    for (int i = 0; i < depth; ++i)
        bag = sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.6")) + der(0xa0, sequence(bag)));
    return bag;
}

Bytes repeated(int count, const Bytes& bytes) {
    Bytes all;
    for (int i = 0; i < count; ++i)
        all += bytes;
    return all;
}

Bytes localKeyId(char id) {
    return der(0x31, sequence(oid(OidBytes("1.2.840.113549.1.9.21")) + der(0x31, octets({id}))));
}

Bytes certBag(const Bytes& bytes, const Bytes& attributes) {
    const Bytes cert =
        sequence(oid(OidBytes("1.2.840.113549.1.9.22.1")) + der(0xa0, octets(bytes)));
    return sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.3")) + der(0xa0, cert) + attributes);
}

Bytes certBag(const char* file, char id) {
    return certBag(testfiles::derOf(testfiles::certOf(testfiles::loadCert(file))), localKeyId(id));
}

Bytes keyBag(const Bytes& pkcs8, char id) {
    return sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.1")) + der(0xa0, pkcs8)
                    + localKeyId(id));
}

Bytes pkcs8Of(const char* file) {
    DataBuffer bytes;
    testfiles::loadPemDer(file, bytes);
    return Bytes(certstore::textOf(bytes.view()));
}

// The same EC key without its public half, which follows from the rest, or not even with its curve.
Bytes withoutPublicHalf(const Bytes& pkcs8, bool withCurve = true) {
    const Bytes curve = withCurve ? oid(OidBytes("1.2.840.10045.3.1.7")) : "";
    const Bytes algorithm = sequence(oid(OidBytes("1.2.840.10045.2.1")) + curve);
    const Bytes secret = sequence(number(1) + octets(pkcs8.substr(36, 32)));
    return sequence(number(0) + algorithm + octets(secret));
}

TEST(Pkcs12, KeysGoToTheirCertificatesWhateverIdentifiersSay) {
    const Bytes leafKey = pkcs8Of("leaf.key"), rsaKey = pkcs8Of("rsa-leaf.key");
    const Bytes renewedKey = withoutPublicHalf(pkcs8Of("renewed.key"));
    const Bytes secretKey = withoutPublicHalf(leafKey),
                unknownKey = withoutPublicHalf(leafKey, false);
    const Bytes certs = certBag("leaf.pem", 1) + certBag("rsa-leaf.pem", 2);
    const Bytes ecCerts = certBag("leaf.pem", 1) + certBag("renewed-a.pem", 2);
    const struct {
        const char* sentence;
        Bytes bags;
        bool firstHasKey, secondHasKey;
    } kCases[] = {
        {"crossed identifiers", certs + keyBag(leafKey, 2) + keyBag(rsaKey, 1), true, true},
        {"no public halves, two of a kind", ecCerts + keyBag(secretKey, 2) + keyBag(renewedKey, 1),
         true, true},
        {"no public half, not its identifier", certs + keyBag(secretKey, 2), true, false},
        {"no curve, but the identifier", certs + keyBag(unknownKey, 1), true, false},
        {"no curve, no such identifier", certs + keyBag(unknownKey, 3), false, false},
        {"the identifier of a certificate of another kind", certs + keyBag(unknownKey, 2), false,
         false},
        {"a key that belongs to neither", certs + keyBag(pkcs8Of("leaf-other.key"), 1), false,
         false},
    };
    for (const auto& c : kCases) {
        DataBuffer pfx;
        pfx.append(bytesOf(pfxOf(plainSafe(c.bags))));
        Pkcs12 container;
        LogText log;
        bool macVerified = true;
        ASSERT_TRUE(container.pkcs12FromDb(pfx, nullptr, macVerified, log)) << log.getText();
        EXPECT_FALSE(macVerified);
        EXPECT_EQ(container.getPkcs12Cert(0, log)->hasPrivateKey(false, log), c.firstHasKey)
            << c.sentence;
        EXPECT_EQ(container.getPkcs12Cert(1, log)->hasPrivateKey(false, log), c.secondHasKey)
            << c.sentence;
    }
}

TEST(Pkcs12, NamesTheBagOfWhatIsMalformed) {
    const Bytes certs = certBag("leaf.pem", 1) + certBag("no certificate", "");
    const Bytes keys = certBag("leaf.pem", 1) + keyBag(sequence(""), 1);
    for (const auto& [bags, error] :
         {std::pair(certs,
                    "certificate bag 2: Not a certificate: cannot read certificate at byte 0."),
          std::pair(keys, "key bag 2: Not an unencrypted PKCS#8 private key.")}) {
        DataBuffer pfx;
        pfx.append(bytesOf(pfxOf(plainSafe(bags))));
        Pkcs12 container;
        LogText log;
        bool macVerified = false;
        EXPECT_FALSE(container.pkcs12FromDb(pfx, nullptr, macVerified, log));
        EXPECT_EQ(errorIn(log), error);
        EXPECT_EQ(container.get_NumCerts(), 0);
    }
}

TEST(Pkcs12, ReadsKeysUnderScrypt) {
    const Bytes encrypted = testfiles::readFile(testfiles::data("leaf-scrypt.p8"));
    const Bytes bag = sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.2")) + der(0xa0, encrypted));
    DataBuffer pfx;
    pfx.append(bytesOf(pfxOf(plainSafe(bag + certBag("leaf.pem", 1)))));
    Pkcs12 container;
    LogText log;
    bool macVerified = false;
    ASSERT_TRUE(container.pkcs12FromDb(pfx, "password", macVerified, log)) << log.getText();
    EXPECT_TRUE(container.getPkcs12Cert(0, log)->hasPrivateKey(false, log));
    EXPECT_FALSE(container.pkcs12FromDb(pfx, "Password", macVerified, log));
    EXPECT_EQ(errorIn(log),
              "shrouded key bag 1, PBES2 with scrypt and AES-256-CBC: decryption failed.");
}

TEST(Pkcs12, RefusesBombsByTheNameOfTheLimitBeforeAnyWork) {
    const Bytes manyKeys = plainSafe(repeated(999, shroudedKey(pbes2(pbkdf2(100'000)))));
    const Bytes manySafes = repeated(1000, encryptedSafe(pbes2(pbkdf2(100'000))));
    const struct {
        const char* sentence;
        Bytes pfx;
        const char* error;
    } kCases[] = {
        {"2^31 - 1 iterations", pfxOf(encryptedSafe(pbes2(pbkdf2(0x7fffffff)))),
         "limit of iterations"},
        {"2^64 - 1 iterations", pfxOf(encryptedSafe(pbes2(pbkdf2(~0ULL)))), "limit of iterations"},
        {"many keys of many iterations", pfxOf(manyKeys), "limit of key derivation work"},
        {"many safes of many iterations", pfxOf(manySafes), "limit of key derivation work"},
        {"scrypt with gigabytes", pfxOf(encryptedSafe(pbes2(scrypt(1 << 20, 32, 1)))),
         "limit of scrypt memory"},
        {"scrypt with all there is", pfxOf(encryptedSafe(pbes2(scrypt(1ULL << 63, 1 << 30, 9)))),
         "limit of scrypt memory"},
        {"scrypt in many lanes", pfxOf(encryptedSafe(pbes2(scrypt(1024, 8, 4096)))),
         "limit of key derivation work"},
        {"safes in safes", pfxOf(plainSafe(nestedSafes(40))), "limit of nesting"},
        {"more bags than any file has",
         pfxOf(
             plainSafe(repeated(10'001, sequence(oid(OidBytes("1.2.3")) + der(0xa0, "\x05\0"s))))),
         "limit of bags"},
        {"more keys than any file has", pfxOf(plainSafe(repeated(1'001, keyBag(sequence(""), 1)))),
         "limit of keys"},
        {"unknown cipher", pfxOf(encryptedSafe(sequence(oid(OidBytes("1.2.3"))))),
         "safe 1: unknown algorithm 1.2.3."},
        {"public-key privacy",
         pfxOf(sequence(oid(OidBytes("1.2.840.113549.1.7.3")) + der(0xa0, sequence("")))),
         "public-key privacy mode"},
        {"no PFX at all", sequence(number(3)), "Not PKCS#12."},
    };
    for (const auto& c : kCases) {
        const Pkcs12Limits limits;
        const certstore::PfxPassword password("password");
        LogText log;
        certstore::PfxParser parser(limits, log);
        certstore::PfxItems items;
        bool macVerified = false;
        EXPECT_FALSE(parser.parse(bytesOf(c.pfx), password, items, macVerified)) << c.sentence;
        EXPECT_NE(errorIn(log).find(c.error), std::string::npos) << c.sentence << log.getText();
        EXPECT_EQ(parser.workDone(), 0U) << c.sentence;
    }
}

// Work that shows only after decryption is charged before it is done.
TEST(Pkcs12, ChargesWhatDecryptionReveals) {
    DataBuffer pfx;
    testfiles::loadFile("pfx-modern.p12", pfx);
    // MAC: 1 a hash computation and iteration; the safe and the key, HMAC-SHA-256 for 32 bytes: 2.
    for (const std::uint64_t iterations : {1U, 2U, 3U, 4U, 5U, 6U}) {
        Pkcs12Limits limits;
        limits.kdfWork = 2048 * iterations - 1;
        LogText log;
        const certstore::PfxPassword password("password");
        certstore::PfxParser parser(limits, log);
        certstore::PfxItems items;
        bool macVerified = false;
        EXPECT_EQ(parser.parse(pfx.view(), password, items, macVerified), iterations > 5);
        EXPECT_LE(parser.workDone(), limits.kdfWork);
    }
}

}  // namespace
