#include "support/crypto/Ecdsa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/crypto/Digest.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

// A key for each curve and its signature over "abc" with SHA-256:
//   openssl ecparam -name P-256 -genkey; openssl dgst -sha256 -sign key.pem | openssl asn1parse
// The x of twice the generator is computed with Python from the formulas of SEC 1 section 2.2.1.
struct Known {
    EcCurveId id;
    const char *x, *y, *r, *s;
    const char* xOfTwiceGenerator;
};

constexpr Known kKnown[] = {
    {EcCurveId::P256, "6154f0fb70315598d00e204bed9f885f042d431e6355b413354477914b05a453",
     "3eb34105c92a757efb740b0a8a6419aeb258fcd2a68594fb1641956b02768b8c",
     "c203f4463aff774da4ffd7cc08435490ab19156bb711ea9273a0eb985524ae08",
     "c96b16d8efda8a22388c71d3c8cc99159c4ed61f29e9b4ac932f1e35b55e021f",
     "7cf27b188d034f7e8a52380304b51ac3c08969e277f21b35a60b48fc47669978"},
    {EcCurveId::P384,
     "29610883747875e353dc1cfd53d98ac7cd7077fb37ed11539029941ef2d7a6bd"
     "d5e3332085675ebfa9a1123017193257",
     "1e1cbcf07c7a0614be4e4bcbf04632707a01f35e378127232d90b026db91c84f"
     "a746d6c597f1904e7f60e1a72dac0575",
     "304800037b80a60233c322309b87e417dcf264a7a8e407fadfb5f74aaac91e9e"
     "6556be4ef2980933778577dca556e202",
     "ba1b3c64d0d710d9296aa4c4d324f462e0e2f51638d486e6053c72a4990cc1fc"
     "c8f231d5dff80648f1cd0984fea37103",
     "08d999057ba3d2d969260045c55b97f089025959a6f434d651d207d19fb96e9e"
     "4fe0e86ebe0e64f85b96a9c75295df61"},
};

Bytes concatenate(const char* prefix, std::string_view x, std::string_view y = "") {
    return fromHex(std::string(prefix).append(x).append(y));
}

struct Inputs {
    EcCurveId id;
    Bytes point, digest, r, s;

    explicit Inputs(const Known& known)
        : id(known.id),
          point(concatenate("04", known.x, known.y)),
          r(fromHex(known.r)),
          s(fromHex(known.s)) {
        const DigestValue value = computeDigest(DigestAlgorithm::Sha256, bytesOf("abc"));
        digest.assign(value.bytes, value.bytes + value.size);
    }

    const EcCurve& curve() const { return *findCurve(id); }
    bool verify() const { return verifyEcdsa(id, point, digest, r, s); }
};

Bytes generatorOf(const Inputs& inputs) {
    return concatenate("04", inputs.curve().generatorX, inputs.curve().generatorY);
}

Bytes negatedGeneratorOf(const Inputs& inputs) {
    const bool odd = fromHex(inputs.curve().generatorY).back() % 2 != 0;
    return concatenate(odd ? "02" : "03", inputs.curve().generatorX);
}

Bytes xOfTwiceGenerator(const Inputs& inputs) {
    const auto* known =
        std::ranges::find_if(kKnown, [&](const Known& row) { return row.id == inputs.id; });
    return fromHex(known->xOfTwiceGenerator);
}

// Makes u and v 1, so that the check computes G + Q.
void setScalarsToOne(Inputs& inputs) {
    inputs.r = inputs.s = inputs.digest = xOfTwiceGenerator(inputs);
}

// For the public key -G the check finds the x of 2 G when digest - r = 2 s.
void setSmallS(Inputs& inputs) {
    inputs.point = negatedGeneratorOf(inputs);
    inputs.r = inputs.digest = xOfTwiceGenerator(inputs);
    inputs.s = {5};
    inputs.digest.back() = static_cast<unsigned char>(inputs.digest.back() + 10);
}

TEST(EcdsaTest, AcceptsOnlyTheSignatureItself) {
    struct Case {
        const char* what;
        bool expected;
        void (*change)(Inputs&);
    };
    const Case cases[] = {
        {"as openssl made it", true, [](Inputs&) {}},
        {"zeros before r and s", true,
         [](Inputs& i) {
             i.r.insert(i.r.begin(), 40, 0);
             i.s.insert(i.s.begin(), 1, 0);
         }},
        {"octets of the digest beyond the order", true,
         [](Inputs& i) {
             i.digest = padded(i.digest, fieldBytes(i.id));
             i.digest.push_back(0x55);
         }},
        {"the public key is G, whose sum with G is a doubling", true,
         [](Inputs& i) {
             i.point = generatorOf(i);
             setScalarsToOne(i);
         }},
        {"the public key is -G, whose sum with G is infinity", false,
         [](Inputs& i) {
             i.point = negatedGeneratorOf(i);
             setScalarsToOne(i);
         }},
        {"s is 5", true, setSmallS},
        {"s is the order and 5", false,
         [](Inputs& i) {
             setSmallS(i);
             i.s = fromHex(i.curve().order);
             i.s.back() = static_cast<unsigned char>(i.s.back() + 5);
         }},
        {"another digest", false, [](Inputs& i) { i.digest[0] ^= 1; }},
        {"no digest", false, [](Inputs& i) { i.digest.clear(); }},
        {"r is 0", false, [](Inputs& i) { i.r = {0}; }},
        {"s is 0", false, [](Inputs& i) { i.s = {0}; }},
        {"no r", false, [](Inputs& i) { i.r.clear(); }},
        {"no s", false, [](Inputs& i) { i.s.clear(); }},
        {"r is the order", false, [](Inputs& i) { i.r = fromHex(i.curve().order); }},
        {"s is the order", false, [](Inputs& i) { i.s = fromHex(i.curve().order); }},
        {"r longer than the order", false, [](Inputs& i) { i.r.insert(i.r.begin(), 1); }},
        {"r and s exchanged", false, [](Inputs& i) { std::swap(i.r, i.s); }},
        {"another public key", false, [](Inputs& i) { i.point = generatorOf(i); }},
        {"nothing", false,
         [](Inputs& i) {
             for (Bytes* bytes : {&i.point, &i.digest, &i.r, &i.s})
                 bytes->clear();
         }},
        {"no such curve", false, [](Inputs& i) { i.id = static_cast<EcCurveId>(250); }},
    };
    for (const Known& known : kKnown)
        for (const Case& row : cases) {
            Inputs inputs(known);
            row.change(inputs);
            EXPECT_EQ(inputs.verify(), row.expected) << row.what << ", curve of " << known.x;
        }
}

TEST(EcCurveTest, KnowsItsPoints) {
    for (const Known& known : kKnown) {
        const bool odd = fromHex(known.y).back() % 2 != 0;
        const std::string zero(2 * fieldBytes(known.id), '0');
        const std::string_view prime = findCurve(known.id)->prime;
        struct Case {
            const char* what;
            bool expected;
            Bytes octets;
        };
        const Case cases[] = {
            {"uncompressed", true, concatenate("04", known.x, known.y)},
            {"compressed", true, concatenate(odd ? "03" : "02", known.x)},
            {"compressed, its negative", true, concatenate(odd ? "02" : "03", known.x)},
            {"compressed, x 0 with a root", true, concatenate("02", zero)},
            {"the same with x the prime", false, concatenate("02", prime)},
            {"compressed, x 1 without a root", false,
             concatenate("02", zero.substr(0, zero.size() - 1) + "1")},
            {"x and y exchanged, off the curve", false, concatenate("04", known.y, known.x)},
            {"origin, off the curve", false, concatenate("04", zero, zero)},
            {"y above the prime", false, concatenate("04", known.x, std::string(zero.size(), 'f'))},
            {"hybrid", false, concatenate(odd ? "07" : "06", known.x, known.y)},
            {"raw coordinates", false, concatenate("", known.x, known.y)},
            {"infinity", false, {0}},
            {"nothing", false, {}},
            {"one byte more", false, concatenate("04", known.x, std::string(known.y) + "00")},
            {"a zero before y", false, concatenate("04", known.x, std::string("00") + known.y)},
            {"compressed, one byte more", false, concatenate("03", known.x, "00")},
            {"uncompressed without y", false, concatenate("04", known.x)},
            {"prefix alone", false, {4}},
        };
        for (const Case& row : cases)
            EXPECT_EQ(isCurvePoint(known.id, row.octets), row.expected)
                << row.what << ", " << known.x;
    }
}

// The compressed forms of a key stand for the right one of the two points.
TEST(EcdsaTest, TakesCompressedKeys) {
    for (const Known& known : kKnown) {
        Inputs inputs(known);
        const bool odd = fromHex(known.y).back() % 2 != 0;
        inputs.point = concatenate(odd ? "03" : "02", known.x);
        EXPECT_TRUE(inputs.verify()) << known.x;
        inputs.point = concatenate(odd ? "02" : "03", known.x);
        EXPECT_FALSE(inputs.verify()) << known.x;
    }
}

}  // namespace
}  // namespace certstore
