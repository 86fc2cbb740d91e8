#include "support/crypto/EcKeys.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/crypto/Bytes.h"

namespace certstore {
namespace {

// openssl ecparam -name ... -genkey -noout; openssl ec -text
struct Known {
    EcCurveId id;
    const char *scalar, *point;
};

constexpr Known kKnown[] = {
    {EcCurveId::P256, "ea240da19d47d56b9db89a4157b3529bbb4ecd38138c8b212ec48cb5df683280",
     "04add57beaeb267f9aa0538cb52140812eca47970923214dfe0556b3ff734f82cfa8a5bccc6c6f3cc43bd27880d94"
     "fbd0f942bc01d5fc784d634a6b1f40594cd0f"},
    {EcCurveId::P384,
     "adeeb23797ae68ec8c17d5e096b88d80ff3d8001aaebd6bedb8752e5bddd116fc44969e0aef21f73f0e6bb74f2759"
     "dfb",
     "0424c08bcc14e23dada57fb6d1ff29a89ecf2e9c40a9c9a430e755381d392ba6bcc24ac1e3757b2f83be18945486e"
     "b8c98a1c9f99a5e0b66cbbf9ede79517cf6c7945bfd9a138ccc66652f34a1909fa5aa83835eb8705612c9f2e46381"
     "b6b3f941"},
};

// Empty when there is none.
Bytes derive(EcCurveId id, const Bytes& scalar, std::size_t more = 0) {
    Bytes point(1 + 2 * fieldBytes(id) + more);
    return deriveEcPublicKey(id, scalar, point) ? point : Bytes();
}

Bytes nearOrder(const EcCurve& curve, int difference) {
    Bytes scalar = fromHex(curve.order);
    scalar.back() = static_cast<unsigned char>(scalar.back() + difference);
    return scalar;
}

TEST(EcKeysTest, DerivesThePointOfEveryScalarInRange) {
    for (const Known& known : kKnown) {
        SCOPED_TRACE(known.point);
        const EcCurve& curve = *findCurve(known.id);
        const Bytes scalar = fromHex(known.scalar), point = fromHex(known.point);
        Bytes wide = padded(scalar, scalar.size() + 9);
        EXPECT_EQ(derive(known.id, scalar), point);
        EXPECT_EQ(derive(known.id, wide), point);
        wide.front() = 1;
        EXPECT_EQ(derive(known.id, wide), Bytes()) << "a bit above all the others";

        const Bytes generator = derive(known.id, {1});
        const Bytes negative = derive(known.id, nearOrder(curve, -1));
        const Bytes x = fromHex(curve.generatorX), y = fromHex(curve.generatorY);
        EXPECT_TRUE(std::ranges::equal(y, ByteView(generator).last(y.size())));
        EXPECT_TRUE(std::ranges::equal(x, ByteView(negative).subspan(1, x.size())));
        EXPECT_NE(negative, generator);
        EXPECT_TRUE(isCurvePoint(known.id, negative));

        for (const Bytes& outside : {Bytes(), Bytes(100), nearOrder(curve, 0), nearOrder(curve, 1)})
            EXPECT_EQ(derive(known.id, outside), Bytes());
        EXPECT_EQ(derive(known.id, {1}, 1), Bytes()) << "a point is not of this size";
    }
    EXPECT_EQ(derive(static_cast<EcCurveId>(250), {1}), Bytes());
}

}  // namespace
}  // namespace certstore
