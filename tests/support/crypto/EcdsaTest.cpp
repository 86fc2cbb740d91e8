#include "support/crypto/Ecdsa.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/crypto/EcCurveVisit.h"
#include "support/crypto/EcKeys.h"
#include "tests/support/Cases.h"

namespace certstore {
namespace {

// Empty when there is none.
Bytes derive(EcCurveId id, const Bytes& scalar, std::size_t more = 0) {
    Bytes point(1 + 2 * fieldBytes(id) + more);
    return deriveEcPublicKey(id, scalar, point) ? point : Bytes();
}

// By its number, which need not be one.
EcCurveId curveOf(const Row& row) {
    return static_cast<EcCurveId>(std::stoi(row.at("curve")));
}

// Signatures of which all can be told without a private key: for the public key G and with r, s and
// the digest all x(2 G) the check computes G + G.
TEST(EcdsaTest, AcceptsOnlyTheSignatureItself) {
    forEachCase("ecdsa.tsv", [](const Row& row) {
        EXPECT_EQ(verifyEcdsa(curveOf(row), hexOf(row, "key"), hexOf(row, "digest"),
                              hexOf(row, "r"), hexOf(row, "s")),
                  isYes(row, "verifies"));
    });
}

TEST(EcCurveTest, KnowsItsPoints) {
    forEachCase("ec-points.tsv", [](const Row& row) {
        EXPECT_EQ(isCurvePoint(curveOf(row), hexOf(row, "octets")), isYes(row, "good"));
    });
}

// No signature leads there from both sides.
TEST(EcGroupTest, InfinityIsNeutral) {
    for (const EcCurve& curve : kEcCurves)
        EXPECT_TRUE(visitCurve(curve.id, [](auto at) {
            const auto& group = at.group();
            const auto g = group.toPoint(group.generator());
            const auto infinity = group.add(g, group.negate(g));
            const auto isG = [&g](auto p) { return p.x == g.x && p.y == g.y && p.z == g.z; };
            return infinity.isInfinity() && isG(group.add(g, infinity))
                && isG(group.add(infinity, g)) && group.add(infinity, infinity).isInfinity();
        })) << curve.prime;
}

// The points of other scalars are among the keys of key-pairs.pem.
TEST(EcKeysTest, DerivesThePointOfEveryScalarInRange) {
    for (const EcCurve& curve : kEcCurves) {
        SCOPED_TRACE(curve.prime);
        const Bytes order = fromHex(curve.order), x = fromHex(curve.generatorX);
        const Bytes generator =
            fromHex(std::string("04").append(curve.generatorX).append(curve.generatorY));
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
