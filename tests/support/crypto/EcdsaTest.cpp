#include "support/crypto/Ecdsa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/crypto/EcKeys.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

Bytes concatenate(const char* prefix, std::string_view x, std::string_view y = "") {
    return fromHex(std::string(prefix).append(x).append(y));
}

// Empty when there is none.
Bytes derive(EcCurveId id, const Bytes& scalar, std::size_t more = 0) {
    Bytes point(1 + 2 * fieldBytes(id) + more);
    return deriveEcPublicKey(id, scalar, point) ? point : Bytes();
}

const char* compressedPrefix(std::uint8_t lastOfY, bool negative = false) {
    return (lastOfY % 2 != 0) != negative ? "03" : "02";
}

// A signature of which all can be told without a private key: for the public key G and with r, s
// and the digest all x(2 G) the check computes G + G.
struct Inputs {
    const EcCurve& curve;
    EcCurveId id = curve.id;
    Bytes point = concatenate("04", curve.generatorX, curve.generatorY);
    Bytes r, s, number, beyond;

    explicit Inputs(const EcCurve& which) : curve(which) {
        const Bytes twice = derive(curve.id, {2});
        r.assign(twice.begin() + 1, twice.begin() + 1 + (twice.size() - 1) / 2);
        s = number = r;
    }

    Bytes order() const { return fromHex(curve.order); }
    Bytes compressedGenerator(bool negative) const {
        return concatenate(compressedPrefix(point.back(), negative), curve.generatorX);
    }

    // Of the digest only as many bits count as the order has, the leading ones.
    bool verify() const {
        Bytes digest = number;
        for (std::size_t i = 8 * digest.size(); i > curve.fieldBits && !digest.empty(); --i)
            digest = sum(digest, digest);
        digest.insert(digest.end(), beyond.begin(), beyond.end());
        return verifyEcdsa(id, point, digest, r, s);
    }
};

// For the public key -G the check finds the x of 2 G when digest - r = 2 s.
void setSmallS(Inputs& i) {
    i.point = i.compressedGenerator(true);
    i.s = {5};
    i.number = sum(i.r, {10});
}

TEST(EcdsaTest, AcceptsOnlyTheSignatureItself) {
    const std::tuple<const char*, bool, void (*)(Inputs&)> kCases[] = {
        {"the public key is G, whose sum with G is a doubling", true, [](Inputs&) {}},
        {"compressed", true, [](Inputs& i) { i.point = i.compressedGenerator(false); }},
        {"-G: infinity", false, [](Inputs& i) { i.point = i.compressedGenerator(true); }},
        {"zeros before r", true, [](Inputs& i) { i.r.insert(i.r.begin(), 40, 0); }},
        {"octets of the digest beyond the order", true, [](Inputs& i) { i.beyond = {0x55}; }},
        {"s is 5", true, setSmallS},
        {"s is the order and 5", false,
         [](Inputs& i) {
             setSmallS(i);
             i.s = sum(i.order(), i.s);
         }},
        {"another digest", false, [](Inputs& i) { i.number.back() ^= 1; }},
        {"no digest", false, [](Inputs& i) { i.number.clear(); }},
        {"r is 0", false, [](Inputs& i) { i.r = {0}; }},
        {"s is 0", false, [](Inputs& i) { i.s = {0}; }},
        {"r is the order", false, [](Inputs& i) { i.r = i.order(); }},
        {"s is the order", false, [](Inputs& i) { i.s = i.order(); }},
        {"r longer than the order", false, [](Inputs& i) { i.r.insert(i.r.begin(), 1); }},
        {"no s", false, [](Inputs& i) { i.s.clear(); }},
        {"no public key", false, [](Inputs& i) { i.point.clear(); }},
        {"no such curve", false, [](Inputs& i) { i.id = static_cast<EcCurveId>(250); }},
    };
    for (const EcCurve& curve : kEcCurves) {
        for (const auto& [what, expected, change] : kCases) {
            Inputs inputs(curve);
            change(inputs);
            EXPECT_EQ(inputs.verify(), expected) << what << ", prime " << curve.prime;
        }
    }
}

TEST(EcCurveTest, KnowsItsPoints) {
    for (const EcCurveId id : {EcCurveId::P256, EcCurveId::P384}) {
        const EcCurve& curve = *findCurve(id);
        const std::string_view x = curve.generatorX, y = curve.generatorY;
        const std::string zero(2 * fieldBytes(id), '0');
        const bool odd = fromHex(y).back() % 2 != 0;
        const std::tuple<const char*, bool, Bytes> kCases[] = {
            {"uncompressed", true, concatenate("04", x, y)},
            {"compressed, x 0 with a root", true, concatenate("02", zero)},
            {"the same with x the prime", false, concatenate("02", curve.prime)},
            {"x 1 without root", false, concatenate("02", zero.substr(0, zero.size() - 1) + "1")},
            {"x and y exchanged, off the curve", false, concatenate("04", y, x)},
            {"hybrid", false, concatenate(odd ? "07" : "06", x, y)},
            {"infinity", false, {0}},
            {"nothing", false, {}},
            {"one byte more", false, concatenate("04", x, std::string(y) + "00")},
            {"compressed, one byte more", false, concatenate("03", x, "00")},
            {"uncompressed without y", false, concatenate("04", x)},
        };
        for (const auto& [what, expected, octets] : kCases)
            EXPECT_EQ(isCurvePoint(id, octets), expected) << what << ", " << x;
    }
}

// The points of other scalars are among the keys of key-pairs.pem.
TEST(EcKeysTest, DerivesThePointOfEveryScalarInRange) {
    for (const EcCurve& curve : kEcCurves) {
        SCOPED_TRACE(curve.prime);
        const Bytes order = fromHex(curve.order), x = fromHex(curve.generatorX);
        const Bytes generator = concatenate("04", curve.generatorX, curve.generatorY);
        Bytes wide = padded({1}, 100), last = order;
        EXPECT_EQ(derive(curve.id, wide), generator);
        wide.front() = 1;
        EXPECT_EQ(derive(curve.id, wide), Bytes()) << "a bit above all the others";

        last.back() ^= 1;
        const Bytes negative = derive(curve.id, last);
        EXPECT_TRUE(std::ranges::equal(x, ByteView(negative).subspan(1, x.size())));
        EXPECT_NE(negative, generator);
        EXPECT_TRUE(isCurvePoint(curve.id, negative));

        for (const Bytes& outside : {Bytes(), Bytes(100), order, sum(order, {1})})
            EXPECT_EQ(derive(curve.id, outside), Bytes());
        EXPECT_EQ(derive(curve.id, {1}, 1), Bytes()) << "a point is not of this size";
    }
    EXPECT_EQ(derive(static_cast<EcCurveId>(250), {1}), Bytes());
}

}  // namespace
}  // namespace certstore
