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
    forEachCase("digests.tsv", [&](const Row& row) {
        const DigestAlgorithm algorithm = digestAlgorithmOf(row.at("case"));
        Bytes all;
        for (std::size_t n = 0; n <= 200; ++n) {
            Hmac hmac(algorithm, m.first(n));
            append(all, computeTag(hmac, m.first(3 * n)));
        }
        append(all, pbkdf2(algorithm, m.first(200), m.first(30), 5, 200));
        append(all, derivePkcs12Inputs(algorithm, m));
        EXPECT_EQ(fingerprint(all), hexOf(row, "keyed"));
    });
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

TEST(KdfTest, ScryptRefusesParametersOutOfBounds) {
    forEachCase("scrypt.tsv", [](const Row& row) {
        const bool good = row.at("key") != "none";
        const Bytes known = good ? hexOf(row, "key") : Bytes(8, 0xaa);
        const ScryptParameters parameters{std::stoull(row.at("N")), std::stoull(row.at("r")),
                                          std::stoull(row.at("p"))};
        Bytes key(known.size(), 0xaa);
        EXPECT_EQ(
            deriveScrypt(bytesOf(row.at("password")), bytesOf(row.at("salt")), parameters, key),
            good);
        EXPECT_EQ(key, known);
    });
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
