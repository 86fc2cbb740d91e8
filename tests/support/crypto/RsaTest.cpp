#include <gtest/gtest.h>

#include "support/crypto/RsaPkcs1.h"
#include "support/crypto/RsaPss.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

Bytes digestOfAbc() {
    return toBytes(computeDigest(DigestAlgorithm::Sha256, bytesOf("abc")).view());
}

// Signatures over "abc" with SHA-256 that anybody can make: for s with s^3 - encoding odd and as
// long as wanted, that number is a modulus under which s ^ 3 is the encoding (computed with
// Python).
struct Inputs {
    Bytes modulus = fromHex(
        "bffe0000000000000000ffcfcecff2f9f69f79b7ff3c9584be47ac7583dedc0856992acd995f2d8a94493f73"
        "4f96ad3f413b36f11cbff92f2e04ae369a93");
    Bytes exponent = {3};
    DigestAlgorithm algorithm = DigestAlgorithm::Sha256;
    Bytes digest = digestOfAbc();
    Bytes signature = padded(fromHex("24a17fc36105e9f371a99d0b94ff9ed0c498fa3904"), modulus.size());

    void set(const char* newModulus, const char* newSignature) {
        modulus = fromHex(newModulus);
        signature = padded(fromHex(newSignature), modulus.size());
    }
    bool verify() const {
        return verifyRsaPkcs1({modulus, exponent}, algorithm, digest, signature);
    }
};

TEST(RsaPkcs1Test, AcceptsOnlyTheSignatureItself) {
    const std::tuple<const char*, bool, void (*)(Inputs&)> kCases[] = {
        {"eight octets of padding", true, [](Inputs&) {}},
        {"zero before n", true, [](Inputs& i) { i.modulus.insert(i.modulus.begin(), 0); }},
        {"nine before e", true, [](Inputs& i) { i.exponent.insert(i.exponent.begin(), 9, 0); }},
        {"digest parameters absent", true,
         [](Inputs& i) {
             i.set(
                 "bfff00000000000000000000000000000000000411e03139713387d4e042b2bb46225d2f2317a9"
                 "980eed17fbec56e2494c5e83825da23bbeb7d6a053",
                 "e897cfb71bbb20fa4b0618a63a8b8b6e3fc22e18");
         }},
        {"seven octets of padding", false,
         [](Inputs& i) {
             i.set(
                 "bffe00000000000000ffcfcecff2f9f69f79b7feab7942f396db39d8ae8905c91d5b0568aa4ec7"
                 "859444a567425dd36c706b894ec6b1a0d0c62ebe8f13",
                 "05c4dd12448fbd973779fc5b15b8c99f02862530ac");
         }},
        {"block type 2", false, [](Inputs& i) { i.modulus[1] = 0xfd; }},
        {"eight octets behind the digest", false,
         [](Inputs& i) {
             i.set(
                 "bffe0000000000000000ffcfcecff2f9f69f79b7fe9afd37587a016042ff2eb6a3bd0de5bfa9f7"
                 "31bbc09c3161ef1e607fe1dcc2e0623afaf7927b17ac0d2c426509dd338ae7",
                 "05c4dd12448fbd973779fc5b15b8c99f02862530abd5bb37");
         }},
        {"a digest longer than any", false, [](Inputs& i) { i.digest.resize(4096); }},
        {"no digest", false, [](Inputs& i) { i.digest.clear(); }},
        {"a digest that makes no signatures", false,
         [](Inputs& i) {
             i.algorithm = DigestAlgorithm::Md5;
             i.digest.resize(16);
         }},
        {"the modulus more", false, [](Inputs& i) { i.signature = sum(i.signature, i.modulus); }},
        {"a zero before it", false, [](Inputs& i) { i.signature.insert(i.signature.begin(), 0); }},
        {"longer than any", false, [](Inputs& i) { i.signature.resize(kMaxRsaModulusSize + 1); }},
        {"no signature", false, [](Inputs& i) { i.signature.clear(); }},
        {"no modulus", false, [](Inputs& i) { i.modulus.clear(); }},
        {"no exponent", false, [](Inputs& i) { i.exponent.clear(); }},
    };
    for (const auto& [what, expected, change] : kCases) {
        Inputs inputs;
        change(inputs);
        EXPECT_EQ(inputs.verify(), expected) << what;
    }
}

// Keys of which one needs the whole of its encoding's first octet and the other one bit of it,
// which no key of whole octets does. Made with Python; the message is "abc" as above, the octets of
// the salt are 0, 1, 2 .. Nothing here depends on the size of real keys.
TEST(RsaPssTest, FitsTheEncodingToTheKey) {
    const struct {
        const char *modulus, *noSalt, *longestSalt, *bitBeyond;
        std::size_t longest;
    } kKeys[] = {
        {"0190a6463394556e0c1d0d35f6fdf44c89f4e91a9eb92a85961812b2edde78d87e67472cc30b",
         "0168c44217ac50136325376ec66cb056075718d6d27a6981919c9afb36db39a5311b7462b1e7",
         "00ba352445b897eafd112ef3f78c42c2ffee17877a7835aa01c64b00668af29f904597b28b23",
         "018000129d3d934942b9cb74191bb83c7592b6d5809060433e534b2c79fdefde18516429c657", 3},
        {"03a21beed50db43ecd9136b79b115941d1f4a79a76e5cf813665430a5d31828acda6816dc415",
         "00c42b36647e07a57fb93425980e03be3c1158f1ddb8409860fc0c48a146d6b5aac52f74b3dd",
         "011b713ae27d5a5a148ffe594fc2e7e65ba36db0a679ec8860ad0453741131a1daea7c1b90df",
         "0272a5dd359e8b479236fe9e2b468de2c27e4a2d5f5f6ccadb2cb92a5303d93400d79d735353", 4},
    };
    const Bytes exponent = fromHex("010001"), digest = digestOfAbc();
    for (const auto& key : kKeys) {
        const std::tuple<const char*, bool, const char*, std::size_t> kCases[] = {
            {"no salt", true, key.noSalt, 0},
            {"no salt, and one is expected", false, key.noSalt, 1},
            {"the longest salt that fits", true, key.longestSalt, key.longest},
            {"a shorter one expected", false, key.longestSalt, key.longest - 1},
            {"one longer than fits", false, key.longestSalt, key.longest + 1},
            {"one longer than any", false, key.longestSalt, ~std::size_t{0}},
            {"a bit above the encoding", false, key.bitBeyond, key.longest},
        };
        const Bytes modulus = fromHex(key.modulus), noSalt = fromHex(key.noSalt);
        for (const auto& [what, expected, signature, saltSize] : kCases) {
            const RsaPssOptions options{DigestAlgorithm::Sha256, DigestAlgorithm::Sha256, saltSize};
            EXPECT_EQ(verifyRsaPss({modulus, exponent}, options, digest, fromHex(signature)),
                      expected)
                << what;
        }
        EXPECT_FALSE(
            verifyRsaPss({modulus, exponent}, {DigestAlgorithm::Sha512}, Bytes(64), noSalt))
            << "a digest longer than the key";
    }
    // Its padding is all zeros and its digest begins with 1, so that a sum that wraps fits.
    EXPECT_FALSE(verifyRsaPss(
        {fromHex("d93882aeb1877578f87865c3fbe30665b982c28d16ebdae582795eb3388da31ea209d24211"),
         Bytes{3}},
        {DigestAlgorithm::Sha256, DigestAlgorithm::Sha256, ~std::size_t{0}}, digest,
        padded(fromHex("06d8f16adf91b7584a2265b1f5"), 37)));
}

// Powers computed with Python: pow(signature, exponent, modulus). Sizes around whole limbs, highest
// bit of the modulus set and not, and leading limbs that make estimated quotients too large.
TEST(RsaTest, RaisesToTheExponent) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"fd", "03", "e9", "60"},
        {"f123456789abcdef", "010001", "d9668d544846f5b5", "8db0476934732ce4"},
        {"100000000000000015", "ffffffffffffffff", "0e28def200f8931d25", "06d16a01a3dde95375"},
        {"13c42b06d46d09ff7f", "03", "13c42b06d46d09ff7d", "13c42b06d46d09ff77"},
        {"8000000000000000ffffffffffffffff", "11", "8000000000000000fffffffffffffffd",
         "8000000000000000fffffffffffdffff"},
        {"07fffffffffffffffffffffffffffffff1", "010001", "0759dccdaac03e15c90e802c8b395ac779",
         "01ce4d7ca49191e5240257a992d79994d1"},
    };
    for (const auto& [modulusText, exponentText, signature, expected] : cases) {
        const Bytes modulus = fromHex(modulusText), exponent = fromHex(exponentText);
        Bytes message(modulus.size());
        EXPECT_TRUE(recoverRsaMessage({modulus, exponent}, fromHex(signature), message));
        EXPECT_EQ(message, fromHex(expected)) << modulusText;
    }
}

// Apart from the rows with a refusal each is a computation that is carried out, whatever it gives.
TEST(RsaTest, RefusesWhatIsOutOfBounds) {
    const auto numberOf = [](std::size_t size, unsigned char first, unsigned char last) {
        Bytes number(size, 0xff);
        number.front() = first;
        number.back() = last;
        return number;
    };
    const Bytes three = {3};
    const Bytes largest = numberOf(2048, 0xff, 0xff);
    const std::tuple<const char*, bool, Bytes, Bytes, Bytes> cases[] = {
        {"16,384 bits", true, largest, three, Bytes(2048, 2)},
        {"16,385 bits", false, numberOf(2049, 0x01, 0xff), three, Bytes(2049, 0)},
        {"exponent 2^64 - 1", true, largest, Bytes(8, 0xff), Bytes(2048, 2)},
        {"exponent 2^64 + 3", false, largest, fromHex("010000000000000003"), Bytes(2048, 2)},
        {"exponent 1", false, largest, {1}, Bytes(2048, 2)},
        {"even modulus", false, numberOf(2048, 0xff, 0xfe), three, Bytes(2048, 2)},
        {"modulus 1", false, {1}, three, {0}},
        {"modulus 0", false, {0}, three, {}},
        {"signature one below the modulus", true, largest, three, numberOf(2048, 0xff, 0xfe)},
        {"signature equal to the modulus", false, largest, three, largest},
        {"signature shorter than the modulus", false, largest, three, Bytes(2047, 2)},
    };
    for (const auto& [what, expected, modulus, exponent, signature] : cases) {
        Bytes message(modulus.size());
        EXPECT_EQ(recoverRsaMessage({modulus, exponent}, signature, message), expected) << what;
    }
}

}  // namespace
}  // namespace certstore
