#include "support/crypto/Ecdsa.h"

#include <gtest/gtest.h>

#include <string>

#include "support/crypto/EcKeys.h"
#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

Bytes concatenate(const char* prefix, std::string_view x, std::string_view y = "") {
    return fromHex(std::string(prefix).append(x).append(y));
}

Bytes twiceGenerator(const EcCurve& curve) {
    Bytes point(1 + 2 * fieldBytes(curve.id));
    EXPECT_TRUE(deriveEcPublicKey(curve.id, Bytes{2}, point));
    return point;
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
        const Bytes twice = twiceGenerator(curve);
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
    const struct {
        const char* what;
        bool expected;
        void (*change)(Inputs&);
    } kCases[] = {
        {"the public key is G, whose sum with G is a doubling", true, [](Inputs&) {}},
        {"compressed", true, [](Inputs& i) { i.point = i.compressedGenerator(false); }},
        {"-G, whose sum with G is infinity", false,
         [](Inputs& i) { i.point = i.compressedGenerator(true); }},
        {"zeros before r and s", true,
         [](Inputs& i) {
             i.r.insert(i.r.begin(), 40, 0);
             i.s.insert(i.s.begin(), 1, 0);
         }},
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
        {"no numbers", false,
         [](Inputs& i) {
             i.r.clear();
             i.s.clear();
         }},
        {"no public key", false, [](Inputs& i) { i.point.clear(); }},
        {"no such curve", false, [](Inputs& i) { i.id = static_cast<EcCurveId>(250); }},
    };
    for (const EcCurve& curve : kEcCurves) {
        for (const auto& row : kCases) {
            Inputs inputs(curve);
            row.change(inputs);
            EXPECT_EQ(inputs.verify(), row.expected) << row.what << ", prime " << curve.prime;
        }
    }
}

TEST(EcCurveTest, KnowsItsPoints) {
    for (const EcCurveId id : {EcCurveId::P256, EcCurveId::P384}) {
        const EcCurve& curve = *findCurve(id);
        const std::string_view x = curve.generatorX, y = curve.generatorY;
        const std::string zero(2 * fieldBytes(id), '0');
        const bool odd = fromHex(y).back() % 2 != 0;
        const struct {
            const char* what;
            bool expected;
            Bytes octets;
        } kCases[] = {
            {"uncompressed", true, concatenate("04", x, y)},
            {"compressed, x 0 with a root", true, concatenate("02", zero)},
            {"the same with x the prime", false, concatenate("02", curve.prime)},
            {"compressed, x 1 without a root", false,
             concatenate("02", zero.substr(0, zero.size() - 1) + "1")},
            {"x and y exchanged, off the curve", false, concatenate("04", y, x)},
            {"hybrid", false, concatenate(odd ? "07" : "06", x, y)},
            {"infinity", false, {0}},
            {"nothing", false, {}},
            {"one byte more", false, concatenate("04", x, std::string(y) + "00")},
            {"compressed, one byte more", false, concatenate("03", x, "00")},
            {"uncompressed without y", false, concatenate("04", x)},
        };
        for (const auto& row : kCases)
            EXPECT_EQ(isCurvePoint(id, row.octets), row.expected) << row.what << ", " << x;
    }
}

}  // namespace
}  // namespace certstore
