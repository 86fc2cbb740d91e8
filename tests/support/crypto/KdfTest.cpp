// Everything that turns passwords into keys.

#include <gtest/gtest.h>

#include "support/crypto/Hmac.h"
#include "support/crypto/Pbkdf1.h"
#include "support/crypto/Pbkdf2.h"
#include "support/crypto/Pkcs12Kdf.h"
#include "support/crypto/Scrypt.h"
#include "tests/support/crypto/Bytes.h"
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
// pattern m, strung together; computed with Python:
//   tags: hmac.new(m[:n], m[:3 * n], a) for n in range(201): keys below, at and above every block
//     size
//   PBKDF2: hashlib.pbkdf2_hmac(a, m[:200], m[:30], 5, 200)
//   PKCS #12: the rows of kPkcs12Inputs for each purpose, 3 iterations, 200 octets, by RFC 7292
//     appendix B.2 over hashlib; `openssl kdf PKCS12KDF` says the same where nothing is empty
constexpr std::pair<DigestAlgorithm, const char*> kKnownByAlgorithm[] = {
    {DigestAlgorithm::Sha1, "29318152290aabf63d1153637be30618"},
    {DigestAlgorithm::Sha224, "4779df52747c1abc7bef5bcc65d9889e"},
    {DigestAlgorithm::Sha256, "0a255b3e3add66aff109302c17059e00"},
    {DigestAlgorithm::Sha384, "6b4093d0064b491cecccbc28004b5f40"},
    {DigestAlgorithm::Sha512, "c6b33e9f2f157d4cb198223f2ca14ca8"},
    {DigestAlgorithm::Sha512_224, "a8ce3e823eea8792038210234c30390a"},
    {DigestAlgorithm::Sha512_256, "28605ba720abc58e4a8b49b7684e7fa4"},
    {DigestAlgorithm::Sha3_224, "2c33cead9cf1d8f21e7677026491655a"},
    {DigestAlgorithm::Sha3_256, "983442d0589667e901f6d2afe117e448"},
    {DigestAlgorithm::Sha3_384, "a1e69c9fcece15f7cb0f15e9a681a851"},
    {DigestAlgorithm::Sha3_512, "447804a1a9f77b203942ffa9fd7e3453"},
    {DigestAlgorithm::Md5, "d5607e7fcfdff8cbfaeb5fff9c18f958"},
};

// Sizes of password and salt: usual ones, several blocks of each, and either one missing.
constexpr std::size_t kPkcs12Inputs[][2] = {{18, 8}, {300, 160}, {0, 20}, {2, 0}};

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
    for (const auto& [algorithm, known] : kKnownByAlgorithm) {
        Bytes all;
        for (std::size_t n = 0; n <= 200; ++n) {
            Hmac hmac(algorithm, m.first(n));
            append(all, computeTag(hmac, m.first(3 * n)));
        }
        append(all, pbkdf2(algorithm, m.first(200), m.first(30), 5, 200));
        append(all, derivePkcs12Inputs(algorithm, m));
        EXPECT_EQ(fingerprint(all), fromHex(known)) << known;
    }
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
    EXPECT_EQ(derive(DigestAlgorithm::Md5, 16), fromHex("c11246e6b87e77a09ab0643de76e1ea7"));
}

// One of RFC 7914 section 12, and one with an odd block size from Python's hashlib.scrypt.
TEST(KdfTest, ScryptGivesTheKnownKeys) {
    const std::tuple<const char*, const char*, ScryptParameters, const char*> kRows[] = {
        {"pleaseletmein", "SodiumChloride", {16384, 8, 1}, "7023bdcb3afd7348461c06cd81fd38eb"},
        {"password", "NaCl", {64, 3, 2}, "5af4afb80ab06145a3b8da10812c0130737fd32bd37d530dab71"},
    };
    for (const auto& [password, salt, parameters, known] : kRows) {
        Bytes key(std::string_view(known).size() / 2);
        EXPECT_TRUE(deriveScrypt(bytesOf(password), bytesOf(salt), parameters, key));
        EXPECT_EQ(key, fromHex(known));
    }
}

TEST(KdfTest, ScryptRefusesParametersOutOfBounds) {
    constexpr std::uint64_t kHuge = std::uint64_t{1} << 63;
    const std::pair<const char*, ScryptParameters> kRows[] = {
        {"cost 1", {1, 8, 1}},
        {"cost no power of two", {48, 8, 1}},
        {"cost not below 2^(16 r)", {65536, 1, 1}},
        {"no blocks", {16, 0, 1}},
        {"nothing in parallel", {16, 8, 0}},
        {"more memory than allowed", {1 << 20, 1024 / 128, 1}},
        {"more work than allowed", {1 << 14, 8, 129}},
        {"products beyond 64 bits", {kHuge, 2, 1}},
        {"products beyond 64 bits, block size", {2, kHuge, 1}},
        {"products beyond 64 bits, in parallel", {2, 8, kHuge}},
    };
    for (const auto& [what, parameters] : kRows) {
        Bytes key(8, 0xaa);
        EXPECT_FALSE(deriveScrypt(bytesOf("a"), bytesOf("b"), parameters, key)) << what;
        EXPECT_EQ(key, Bytes(8, 0xaa)) << what;
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
    EXPECT_FALSE(
        derivePbkdf2(DigestAlgorithm::Sha1, some, some, 1, {key.data(), std::size_t{20} << 32}))
        << "not written to, as there is less";
    const Bytes longSalt((1 << 20) + 1);
    EXPECT_FALSE(derivePkcs12(DigestAlgorithm::Sha1, Pkcs12Purpose::Iv, some, longSalt, 1, key));
    EXPECT_EQ(key, Bytes(21, 0xaa));
}

constexpr std::pair<const char*, DigestAlgorithm> kVectorFiles[] = {
    {"sha1", DigestAlgorithm::Sha1},     {"sha224", DigestAlgorithm::Sha224},
    {"sha256", DigestAlgorithm::Sha256}, {"sha384", DigestAlgorithm::Sha384},
    {"sha512", DigestAlgorithm::Sha512},
};

TEST(KdfVectorsTest, GiveTheExpectedKeys) {
    for (const auto& [name, digest] : kVectorFiles) {
        const DigestAlgorithm algorithm = digest;
        forEachVector(std::string("hmac_") + name + "_test", [=](const Json&, const Json& test) {
            Hmac hmac(algorithm, hexOf(test, "key"));
            const Bytes expected = hexOf(test, "tag");
            Bytes tag = computeTag(hmac, hexOf(test, "msg"));
            tag.resize(expected.size());
            expectResult(test, tag == expected);
        });
        forEachVector(
            std::string("pbkdf2_hmac") + name + "_test", [=](const Json&, const Json& test) {
                const Bytes key = pbkdf2(algorithm, hexOf(test, "password"), hexOf(test, "salt"),
                                         test.at("iterationCount"), test.at("dkLen"));
                expectResult(test, key == hexOf(test, "dk"));
            });
    }
}

}  // namespace
}  // namespace certstore
