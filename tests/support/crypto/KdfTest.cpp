// Everything that turns passwords into keys.

#include <gtest/gtest.h>

#include "support/crypto/Hmac.h"
#include "support/crypto/Pbkdf1.h"
#include "support/crypto/Pbkdf2.h"
#include "support/crypto/Pkcs12Kdf.h"
#include "support/crypto/Scrypt.h"
#include "tests/support/crypto/Pattern.h"
#include "tests/support/crypto/Vectors.h"

namespace certstore {
namespace {

Bytes computeTag(Hmac& hmac, ByteView message) {
    Bytes tag(hmac.size());
    hmac.update(message);
    hmac.finish(tag);
    return tag;
}

Bytes pbkdf2(DigestAlgorithm algorithm, ByteView password, ByteView salt, std::uint64_t iterations,
             std::size_t size) {
    Bytes key(size);
    EXPECT_TRUE(derivePbkdf2(algorithm, password, salt, iterations, key));
    return key;
}

void append(Bytes& all, const Bytes& more) {
    all.insert(all.end(), more.begin(), more.end());
}

// The first 16 octets of the SHA-256 of what each algorithm gives for many inputs cut from the
// pattern m, computed with Python:
//   tags: hmac.new(m[:n], m[:3 * n], a) for n in range(201), strung together: keys below, at and
//     above every block size
//   pbkdf2: hashlib.pbkdf2_hmac(a, m[:200], m[:30], 5, 200)
//   pkcs12: the rows of kPkcs12Inputs for each purpose, 3 iterations, 200 octets, by RFC 7292
//     appendix B.2 over hashlib; `openssl kdf PKCS12KDF` says the same where nothing is empty
struct KnownByAlgorithm {
    DigestAlgorithm algorithm;
    const char* tags;
    const char* pbkdf2;
    const char* pkcs12;
};

constexpr KnownByAlgorithm kKnownByAlgorithm[] = {
    {DigestAlgorithm::Sha1, "44626c72d116217c5f533c6d3382574e", "fd3d63d763ab1194ec0e4213a942e158",
     "6b2031dc395523fd606edead069f368a"},
    {DigestAlgorithm::Sha224, "21ce8ee709dff4544c1e759c83112b3f",
     "7865d3024e56112106228bb27ae08f97", "663f8f14e643060a54604df10e5ca400"},
    {DigestAlgorithm::Sha256, "f65c057f4812115c62c718b36e98ebd2",
     "d1b4603218e41f5e72715958b506e56e", "7b931612469a30170cdc29a789e720a1"},
    {DigestAlgorithm::Sha384, "d9ae126b468ac01cb6d31f22564afc45",
     "7f5117f76e42a2bc9980d8ddd3ca318a", "c15661e043fc17d37a888ec419eeb280"},
    {DigestAlgorithm::Sha512, "f18d30eb677bc4064fadc0e1ecc8c909",
     "3ac0e113d140bc388976b64e86c72b74", "b0ce1c23ab69e60b140ea5567ca0cd49"},
    {DigestAlgorithm::Sha512_224, "219d444dfff670b6a0f2d9e28323eae2",
     "cc9ec318282fa31beadd7659325e448e", "b6046350a014b31d531e44c0c6f42b63"},
    {DigestAlgorithm::Sha512_256, "f5907541881b0aa759983057a62c1f9e",
     "c8e98e189ab75968ca44c12659a965ad", "c4ad28f79f3ffbad1d4cb7b788e82745"},
    {DigestAlgorithm::Sha3_224, "4443b8cfb74e74dbd9848948fc2d50c7",
     "7434de4eca946f62777efc29c74e1a30", "dcc66b7579f370b852681fc3f0817870"},
    {DigestAlgorithm::Sha3_256, "bf313b19789b7a25a42ce640e7422608",
     "6be3eb51c94c5129c93bb4c726dfbe1c", "cb5ad02260138b168d1801dc37ef6c75"},
    {DigestAlgorithm::Sha3_384, "fb9ed6fa7d9dc8e9262347ee2e4427b2",
     "bffb54b2e3c071b7ae74b098485a8d1c", "22fa4bbaf4ac9a1846a79d01e12da2a2"},
    {DigestAlgorithm::Sha3_512, "a8c2df4f1e200b161b6d6dc9b2d7abe8",
     "36c8a6c95397d5601fd8afc00aa23376", "cd88abce29380614a5de05da5c89fc97"},
    {DigestAlgorithm::Md5, "5666a7845dcdc9c1d4b28557bef65702", "8048f1f7bf441c9e926233a83bdf9158",
     "6fba06d889098f24ddb64d5372aef340"},
};

// Sizes of password and salt: usual ones, several blocks of each, and either one missing.
constexpr std::size_t kPkcs12Inputs[][2] = {{18, 8}, {300, 160}, {0, 20}, {2, 0}};

Bytes fingerprint(const Bytes& bytes) {
    const DigestValue digest = computeDigest(DigestAlgorithm::Sha256, bytes);
    return Bytes(digest.bytes, digest.bytes + 16);
}

Bytes derivePkcs12Inputs(DigestAlgorithm algorithm, ByteView pattern) {
    Bytes all;
    for (const Pkcs12Purpose purpose :
         {Pkcs12Purpose::Key, Pkcs12Purpose::Iv, Pkcs12Purpose::MacKey}) {
        for (const auto& [passwordSize, saltSize] : kPkcs12Inputs) {
            Bytes output(200);
            EXPECT_TRUE(derivePkcs12(algorithm, purpose, pattern.first(passwordSize),
                                     pattern.first(saltSize), 3, output));
            append(all, output);
        }
    }
    return all;
}

TEST(KdfTest, WorksOverEveryDigest) {
    const Bytes pattern = makePattern(1000);
    const ByteView m(pattern);
    for (const KnownByAlgorithm& known : kKnownByAlgorithm) {
        SCOPED_TRACE(static_cast<int>(known.algorithm));
        Bytes tags;
        for (std::size_t n = 0; n <= 200; ++n) {
            Hmac hmac(known.algorithm, m.first(n));
            append(tags, computeTag(hmac, m.first(3 * n)));
        }
        EXPECT_EQ(fingerprint(tags), fromHex(known.tags));
        EXPECT_EQ(fingerprint(pbkdf2(known.algorithm, m.first(200), m.first(30), 5, 200)),
                  fromHex(known.pbkdf2));
        EXPECT_EQ(fingerprint(derivePkcs12Inputs(known.algorithm, m)), fromHex(known.pkcs12));
    }
}

TEST(KdfTest, HmacBeginsAnewAfterEachTag) {
    Hmac hmac(DigestAlgorithm::Sha256, bytesOf("key"));
    const Bytes first = computeTag(hmac, bytesOf("one"));
    EXPECT_NE(computeTag(hmac, bytesOf("two")), first);
    hmac.update(bytesOf("o"));
    EXPECT_EQ(computeTag(hmac, bytesOf("ne")), first);
}

TEST(KdfTest, Pbkdf2GivesTheKeysOfRfc6070) {
    const auto derive = [](ByteView password, ByteView salt, unsigned iterations, unsigned size) {
        return pbkdf2(DigestAlgorithm::Sha1, password, salt, iterations, size);
    };
    const ByteView password = bytesOf("password"), salt = bytesOf("salt");
    EXPECT_EQ(derive(password, salt, 1, 20), fromHex("0c60c80f961f0e71f3a9b524af6012062fe037a6"));
    EXPECT_EQ(derive(password, salt, 2, 20), fromHex("ea6c014dc72d6f8ccd1ed92ace1d41f0d8de8957"));
    EXPECT_EQ(derive(bytesOf("passwordPASSWORDpassword"),
                     bytesOf("saltSALTsaltSALTsaltSALTsaltSALTsalt"), 4096, 25),
              fromHex("3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038"));
    EXPECT_EQ(derive({bytesOf({"pass\0word", 9})}, bytesOf({"sa\0lt", 5}), 4096, 16),
              fromHex("56fa6aa75548099dcc37d7f03425e0c3"));
}

// Computed with Python: t = hashlib.new(a, b"password" + salt).digest(), then 999 times
// t = hashlib.new(a, t).digest().
TEST(KdfTest, Pbkdf1GivesTheKnownKeys) {
    const Bytes salt = fromHex("78578e5a5d63cb06");
    const auto derive = [&](DigestAlgorithm algorithm, std::size_t size) {
        Bytes key(size);
        EXPECT_TRUE(derivePbkdf1(algorithm, bytesOf("password"), salt, 1000, key));
        return key;
    };
    EXPECT_EQ(derive(DigestAlgorithm::Sha1, 16), fromHex("dc19847e05c64d2faf10ebfb4a3d2a20"));
    EXPECT_EQ(derive(DigestAlgorithm::Sha1, 20),
              fromHex("dc19847e05c64d2faf10ebfb4a3d2a20b4e35efe"));
    EXPECT_EQ(derive(DigestAlgorithm::Md5, 16), fromHex("c11246e6b87e77a09ab0643de76e1ea7"));
}

struct KnownScrypt {
    const char* password;
    const char* salt;
    ScryptParameters parameters;
    const char* key;
};

// Three of RFC 7914 section 12, and one with an odd block size from Python's hashlib.scrypt.
constexpr KnownScrypt kKnownScrypts[] = {
    {"",
     "",
     {16, 1, 1},
     "77d6576238657b203b19ca42c18a0497f16b4844e3074ae8dfdffa3fede21442"
     "fcd0069ded0948f8326a753a0fc81f17e8d3e0fb2e0d3628cf35e20c38d18906"},
    {"password",
     "NaCl",
     {1024, 8, 16},
     "fdbabe1c9d3472007856e7190d01e9fe7c6ad7cbc8237830e77376634b373162"
     "2eaf30d92e22a3886ff109279d9830dac727afb94a83ee6d8360cbdfa2cc0640"},
    {"pleaseletmein",
     "SodiumChloride",
     {16384, 8, 1},
     "7023bdcb3afd7348461c06cd81fd38ebfda8fbba904f8e3ea9b543f6545da1f2"
     "d5432955613f0fcf62d49705242a9af9e61e85dc0d651e40dfcf017b45575887"},
    {"password",
     "NaCl",
     {64, 3, 2},
     "5af4afb80ab06145a3b8da10812c0130737fd32bd37d530dab71b092178dd44075b5c174ba75ab3a"},
};

TEST(KdfTest, ScryptGivesTheKnownKeys) {
    for (const KnownScrypt& known : kKnownScrypts) {
        const Bytes expected = fromHex(known.key);
        Bytes key(expected.size());
        EXPECT_TRUE(
            deriveScrypt(bytesOf(known.password), bytesOf(known.salt), known.parameters, key));
        EXPECT_EQ(key, expected);
    }
}

TEST(KdfTest, ScryptRefusesParametersOutOfBounds) {
    constexpr std::uint64_t kHuge = std::uint64_t{1} << 63;
    const struct {
        const char* what;
        ScryptParameters parameters;
    } kRows[] = {
        {"cost 0", {0, 8, 1}},
        {"cost 1", {1, 8, 1}},
        {"cost no power of two", {48, 8, 1}},
        {"cost not below 2^(16 r)", {65536, 1, 1}},
        {"no blocks", {16, 0, 1}},
        {"nothing in parallel", {16, 8, 0}},
        {"more memory than allowed", {std::uint64_t{1} << 22, 1024 / 128, 1}},
        {"more work than allowed", {1 << 14, 8, 129}},
        {"products beyond 64 bits", {kHuge, 2, 1}},
        {"products beyond 64 bits, block size", {2, kHuge, 1}},
        {"products beyond 64 bits, in parallel", {2, 8, kHuge}},
    };
    for (const auto& row : kRows) {
        Bytes key(8, 0xaa);
        EXPECT_FALSE(deriveScrypt(bytesOf("a"), bytesOf("b"), row.parameters, key)) << row.what;
        EXPECT_EQ(key, Bytes(8, 0xaa)) << row.what;
    }
}

TEST(KdfTest, RefusesWhatIsNotDefined) {
    const ByteView some = bytesOf("some");
    Bytes key(21, 0xaa);
    const std::span<unsigned char> twenty = std::span(key).first(20);
    EXPECT_FALSE(derivePbkdf2(DigestAlgorithm::Sha1, some, some, 0, key));
    EXPECT_FALSE(derivePkcs12(DigestAlgorithm::Sha1, Pkcs12Purpose::Key, some, some, 0, key));
    EXPECT_FALSE(derivePbkdf1(DigestAlgorithm::Sha1, some, some, 0, twenty));
    EXPECT_FALSE(derivePbkdf1(DigestAlgorithm::Sha1, some, some, 1, key)) << "a digest has 20";
    EXPECT_FALSE(derivePbkdf1(DigestAlgorithm::Sha256, some, some, 1, twenty));
    const Bytes longSalt(kMaxPkcs12InputSize + 1);
    EXPECT_FALSE(derivePkcs12(DigestAlgorithm::Sha1, Pkcs12Purpose::Iv, some, longSalt, 1, key));
    EXPECT_EQ(key, Bytes(21, 0xaa));
}

class KdfVectorsTest : public testing::TestWithParam<std::pair<const char*, DigestAlgorithm>> {};

TEST_P(KdfVectorsTest, Hmac) {
    const std::string name = GetParam().first;
    const DigestAlgorithm algorithm = GetParam().second;
    forEachVector("hmac_" + name + "_test.json", [&](const Json&, const Json& test) {
        Hmac hmac(algorithm, hexOf(test, "key"));
        const Bytes expected = hexOf(test, "tag");
        Bytes tag = computeTag(hmac, hexOf(test, "msg"));
        tag.resize(expected.size());
        EXPECT_EQ(tag == expected, test.at("result") == "valid") << test.at("tcId");
    });
}

TEST_P(KdfVectorsTest, Pbkdf2) {
    const std::string name = GetParam().first;
    const DigestAlgorithm algorithm = GetParam().second;
    forEachVector("pbkdf2_hmac" + name + "_test.json", [&](const Json&, const Json& test) {
        const Bytes key = pbkdf2(algorithm, hexOf(test, "password"), hexOf(test, "salt"),
                                 test.at("iterationCount"), test.at("dkLen"));
        EXPECT_EQ(key == hexOf(test, "dk"), test.at("result") == "valid") << test.at("tcId");
    });
}

INSTANTIATE_TEST_SUITE_P(Digests, KdfVectorsTest,
                         testing::Values(std::pair("sha1", DigestAlgorithm::Sha1),
                                         std::pair("sha224", DigestAlgorithm::Sha224),
                                         std::pair("sha256", DigestAlgorithm::Sha256),
                                         std::pair("sha384", DigestAlgorithm::Sha384),
                                         std::pair("sha512", DigestAlgorithm::Sha512)),
                         [](const auto& row) { return std::string(row.param.first); });

}  // namespace
}  // namespace certstore
