#include "support/crypto/EcKeys.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

// Empty when there is none.
Bytes derive(EcCurveId id, const Bytes& scalar, std::size_t more = 0) {
    Bytes point(1 + 2 * fieldBytes(id) + more);
    return deriveEcPublicKey(id, scalar, point) ? point : Bytes();
}

// The points of other scalars are among the keys of key-pairs.pem.
TEST(EcKeysTest, DerivesThePointOfEveryScalarInRange) {
    for (const EcCurve& curve : kEcCurves) {
        SCOPED_TRACE(curve.prime);
        const Bytes order = fromHex(curve.order), x = fromHex(curve.generatorX);
        Bytes generator = fromHex("04" + std::string(curve.generatorX).append(curve.generatorY));
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
