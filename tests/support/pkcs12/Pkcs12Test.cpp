#include "support/pkcs12/Pkcs12.h"

#include <gtest/gtest.h>

#include <map>

#include "support/log/LogText.h"
#include "support/pkcs12/PfxParser.h"
#include "tests/common/DerText.h"
#include "tests/common/TestFiles.h"

namespace {

using certstore::bytesOf;
using certstore::OidBytes;
using certstore::Pkcs12Limits;
using namespace dertext;
using testfiles::repeated;
using namespace std::string_literals;

Bytes file(const char* name) {
    return testfiles::readFile(testfiles::data(name));
}

struct Opened {
    Pkcs12 container;
    LogText log;
    bool good, macVerified = false;

    Opened(const Bytes& pfx, const char* password) {
        DataBuffer bytes;
        bytes.append(bytesOf(pfx));
        log.m_verboseLogging = true;
        good = container.pkcs12FromDb(bytes, password, macVerified, log);
    }
    std::string error() const { return testfiles::errorsIn(log.getText()); }
    bool hasKey(int cert) { return container.getPkcs12Cert(cert, log)->hasPrivateKey(false, log); }
};

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
        {"null for it", "pfx-empty-password.p12", nullptr, 3, 1, "MAC matches: empty password."},
        {"beyond ASCII, and beyond 16 bits", "pfx-unicode-password.p12",
         "p\xc3\xa4ssw\xc3\xb6rd \xe2\x82\xac\xf0\x9d\x84\x9e", 3, 1, ""},
        {"wrong password", "pfx-modern.p12", "Password", -1, 0, kWrong},
        {"another spelling", "pfx-unicode-password.p12", "p\xc3\xa4sswo\xcc\x88rd", -1, 0, kWrong},
        {"wrong password without MAC", "pfx-nomac.p12", "Password", -1, 0,
         "shrouded key bag 4, PBES2 with PBKDF2 HMAC-SHA-256 and AES-256-CBC: decryption failed."},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.sentence);
        Opened opened(file(c.file), c.password);
        EXPECT_EQ(opened.good, c.certs >= 0) << opened.log.getText();
        EXPECT_EQ(opened.container.get_NumCerts(), std::max(c.certs, 0));
        EXPECT_EQ(opened.container.get_NumPrivateKeys(), c.keys);
        EXPECT_NE(opened.log.getText().find(c.error), std::string::npos) << opened.log.getText();
        EXPECT_EQ(opened.error(), opened.good ? "" : c.error);
        for (int i = 0; i < opened.container.get_NumCerts(); ++i)
            EXPECT_EQ(opened.hasKey(i), i == 0 && c.keys != 0);
        EXPECT_EQ(opened.container.getPkcs12Cert(c.certs, opened.log), nullptr);
    }
}

TEST(Pkcs12, GivesNamesAndKeysAsTheFileHasThem) {
    DataBuffer key, out;
    testfiles::loadPemDer("leaf.key", key);
    Opened opened(file("pfx-quick.p12"), "password");
    ASSERT_TRUE(opened.good && opened.macVerified);
    EXPECT_STREQ(opened.container.getCertFriendlyName(0), "Alice's key");
    EXPECT_STREQ(opened.container.getKeyFriendlyName(0), "Alice's key");
    EXPECT_STREQ(opened.container.getCertFriendlyName(1), "");
    X509Certificate& cert = *opened.container.getPkcs12Cert(0, opened.log);
    bool notExportable = false;
    ASSERT_TRUE(cert.getPrivateKeyAsDER(out, notExportable, opened.log));
    EXPECT_TRUE(out.equals(key));
    opened.container.setKeysNotExportable();
    EXPECT_FALSE(cert.getPrivateKeyAsDER(out, notExportable, opened.log));
    EXPECT_TRUE(notExportable);
}

// Files put together here, to declare what no tool would.
Bytes number(std::uint64_t value) {
    Bytes content(1, '\0');
    for (int shift = 56; shift >= 0; shift -= 8)
        content += static_cast<char>(value >> shift);
    while (content.size() > 1 && content[0] == 0 && static_cast<signed char>(content[1]) >= 0)
        content.erase(0, 1);
    return der(0x02, content);
}

Bytes aes() {
    return sequence(oid(OidBytes("2.16.840.1.101.3.4.1.42")) + octets(Bytes(16, 'i')));
}

Bytes rc2(std::uint64_t version) {
    return sequence(oid(OidBytes("1.2.840.113549.3.2"))
                    + sequence(number(version) + octets("01234567")));
}

Bytes pbes2(const Bytes& kdf, const Bytes& cipher = aes()) {
    return sequence(oid(OidBytes("1.2.840.113549.1.5.13")) + sequence(kdf + cipher));
}

Bytes pbkdf2(const Bytes& numbers) {
    return sequence(oid(OidBytes("1.2.840.113549.1.5.12"))
                    + sequence(octets("saltsalt") + numbers));
}

Bytes pbkdf2(std::uint64_t iterations) {
    return pbkdf2(number(iterations));
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
    const std::tuple<const char*, Bytes, bool, bool> kCases[] = {
        {"crossed identifiers", certs + keyBag(leafKey, 2) + keyBag(rsaKey, 1), true, true},
        {"no public halves", ecCerts + keyBag(secretKey, 2) + keyBag(renewedKey, 1), true, true},
        {"no public half, not its identifier", certs + keyBag(secretKey, 2), true, false},
        {"no curve, but the identifier", certs + keyBag(unknownKey, 1), true, false},
        {"no curve, no such identifier", certs + keyBag(unknownKey, 3), false, false},
        {"an identifier of another kind", certs + keyBag(unknownKey, 2), false, false},
        {"a key of neither of them", certs + keyBag(pkcs8Of("leaf-other.key"), 1), false, false},
    };
    for (const auto& [sentence, bags, firstHasKey, secondHasKey] : kCases) {
        Opened opened(pfxOf(plainSafe(bags)), nullptr);
        ASSERT_TRUE(opened.good) << opened.error();
        EXPECT_FALSE(opened.macVerified);
        EXPECT_EQ(opened.hasKey(0), firstHasKey) << sentence;
        EXPECT_EQ(opened.hasKey(1), secondHasKey) << sentence;
    }
}

// The key of ML-DSA tells nothing, but has the identifier; that of SLH-DSA ends with its public
// half.
TEST(Pkcs12, PostQuantumKeysAreCarriedAsTheyAre) {
    if (testfiles::vectors().empty())
        GTEST_SKIP() << "no vectors";
    std::map<Bytes, Bytes> certs;
    for (const auto& row : testfiles::readTable(testfiles::vectors() / "oracle.tsv"))
        certs[row.at("key_alg")] =
            testfiles::readFile(testfiles::vectors() / "certs" / (row.at("id") + ".der"));
    const Bytes lattice = certs["ML-DSA-65"], hashes = certs["2.16.840.1.101.3.4.3.20"];
    const Bytes secret(32, 's'), publicHalf = hashes.substr(hashes.find("\3\x21\0"s) + 3, 32);
    const auto keyOf = [](const OidBytes& algorithm, const Bytes& key) {
        return sequence(number(0) + sequence(oid(algorithm)) + octets(key));
    };
    const Bytes keys[] = {keyOf(OidBytes("2.16.840.1.101.3.4.3.18"), der(0x80, secret)),
                          keyOf(OidBytes("2.16.840.1.101.3.4.3.20"), secret + publicHalf)};
    Opened opened(pfxOf(plainSafe(certBag(lattice, localKeyId(1)) + certBag(hashes, localKeyId(2))
                                  + keyBag(keys[0], 1) + keyBag(keys[1], 1))),
                  nullptr);
    ASSERT_TRUE(opened.good) << opened.error();
    for (const int i : {0, 1}) {
        const X509Certificate& cert = *opened.container.getPkcs12Cert(i, opened.log);
        DataBuffer out;
        bool fixed = false;
        EXPECT_TRUE(cert.getPrivateKeyAsDER(out, fixed, opened.log));
        EXPECT_EQ(certstore::textOf(out.view()), keys[i]);
    }
}

TEST(Pkcs12, NamesTheBagOfWhatIsMalformed) {
    const Bytes certs = certBag("leaf.pem", 1) + certBag("no certificate", "");
    const Bytes keys = certBag("leaf.pem", 1) + keyBag(sequence(""), 1);
    for (const auto& [bags, error] :
         {std::pair(certs,
                    "certificate bag 2: Not a certificate: cannot read certificate at byte 0."),
          std::pair(keys, "key bag 2: Not an unencrypted PKCS#8 private key.")}) {
        const Opened opened(pfxOf(plainSafe(bags)), nullptr);
        EXPECT_EQ(opened.error(), error);
        EXPECT_EQ(opened.container.get_NumCerts(), 0);
    }
}

TEST(Pkcs12, ReadsKeysUnderScrypt) {
    const Bytes key =
        sequence(oid(OidBytes("1.2.840.113549.1.12.10.1.2")) + der(0xa0, file("leaf-scrypt.p8")));
    const Bytes pfx = pfxOf(plainSafe(key + certBag("leaf.pem", 1)));
    EXPECT_TRUE(Opened(pfx, "password").hasKey(0));
    EXPECT_EQ(Opened(pfx, "Password").error(),
              "shrouded key bag 1, PBES2 with scrypt and AES-256-CBC: decryption failed.");
}

// The error that reading gives, and the work done by then.
std::string parse(const Bytes& pfx, const Pkcs12Limits& limits, std::uint64_t& work,
                  const char* text = "password") {
    const certstore::PfxPassword password(text);
    LogText log;
    certstore::PfxParser parser(limits, log);
    certstore::PfxItems items;
    bool macVerified = false;
    const bool good = parser.parse(bytesOf(pfx), password, items, macVerified);
    work = parser.workDone();
    return good ? "" : testfiles::errorsIn(log.getText());
}

TEST(Pkcs12, RefusesBombsByTheNameOfTheLimitBeforeAnyWork) {
    const Bytes manyKeys = plainSafe(repeated(999, shroudedKey(pbes2(pbkdf2(100'000)))));
    const Bytes manySafes = repeated(1000, encryptedSafe(pbes2(pbkdf2(100'000))));
    const Bytes otherBag = sequence(oid(OidBytes("1.2.3")) + der(0xa0, "\x05\0"s));
    const char *kWork = "limit of key derivation work", *kMemory = "limit of scrypt memory";
    const std::tuple<const char*, Bytes, const char*> kCases[] = {
        {"2^31 iterations", pfxOf(encryptedSafe(pbes2(pbkdf2(1ULL << 31)))), "limit of iterations"},
        {"2^64 - 1 iterations", pfxOf(encryptedSafe(pbes2(pbkdf2(~0ULL)))), "limit of iterations"},
        {"2^64 + 1", pfxOf(encryptedSafe(pbes2(pbkdf2(der(2, "\1\0\0\0\0\0\0\0\1"s))))),
         "malformed parameters of PBKDF2"},
        {"a key longer than any", pfxOf(encryptedSafe(pbes2(pbkdf2(number(1) + number(129))))),
         "malformed parameters of PBKDF2"},
        {"RC2 of more bits than any", pfxOf(encryptedSafe(pbes2(pbkdf2(1), rc2(1 << 16)))),
         "decryption failed"},
        {"many keys of many iterations", pfxOf(manyKeys), kWork},
        {"many safes of many iterations", pfxOf(manySafes), kWork},
        {"scrypt with gigabytes", pfxOf(encryptedSafe(pbes2(scrypt(1 << 20, 32, 1)))), kMemory},
        {"all of scrypt", pfxOf(encryptedSafe(pbes2(scrypt(1ULL << 63, 1 << 30, 9)))), kMemory},
        {"scrypt in many lanes", pfxOf(encryptedSafe(pbes2(scrypt(1024, 8, 4096)))), kWork},
        {"safes in safes", pfxOf(plainSafe(nestedSafes(40))), "limit of nesting"},
        {"many bags", pfxOf(plainSafe(repeated(10'001, otherBag))), "limit of bags"},
        {"many safes", pfxOf(repeated(10'001, plainSafe(""))), "limit of bags"},
        {"a long file", Bytes((32 << 20) + 1, '\0'), "limit of file size"},
        {"many keys", pfxOf(plainSafe(repeated(1'001, keyBag(sequence(""), 1)))), "limit of keys"},
        {"unknown cipher", pfxOf(encryptedSafe(sequence(oid(OidBytes("1.2.3"))))),
         "safe 1: unknown algorithm 1.2.3."},
        {"public-key privacy",
         pfxOf(sequence(oid(OidBytes("1.2.840.113549.1.7.3")) + der(0xa0, sequence("")))),
         "public-key privacy mode"},
        {"no PFX at all", sequence(number(3)), "Not PKCS#12."},
    };
    for (const auto& [sentence, pfx, error] : kCases) {
        std::uint64_t work = 1;
        EXPECT_NE(parse(pfx, {}, work).find(error), std::string::npos) << sentence;
        EXPECT_EQ(work, 0U) << sentence;
    }
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

// An empty password has two forms.
TEST(Pkcs12, ChargesEveryFormOfAPassword) {
    const Bytes numbers = octets("saltsalt") + number(1000);
    const Bytes tripleDes = sequence(oid(OidBytes("1.2.840.113549.1.12.1.3")) + sequence(numbers));
    const Bytes sha1 = sequence(oid(OidBytes("1.3.14.3.2.26")));
    const Bytes mac = sequence(sequence(sha1 + octets(Bytes(20, 'x'))) + numbers);
    const std::tuple<Bytes, std::uint64_t, const char*> kCases[] = {
        {pfxOf(plainSafe(shroudedKey(tripleDes))), 3000, "decryption failed"},
        {sequence(number(3) + plainSafe("") + mac), 1000, "wrong password"},
    };
    for (const auto& [pfx, work, error] : kCases) {
        for (const std::uint64_t allowed : {2 * work - 1, 2 * work}) {
            Pkcs12Limits limits;
            limits.kdfWork = allowed;
            std::uint64_t done = 0;
            EXPECT_NE(parse(pfx, limits, done, "")
                          .find(allowed < 2 * work ? "limit of key derivation work" : error),
                      std::string::npos);
            EXPECT_EQ(done, allowed / work * work);
        }
    }
}

}  // namespace
