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
    {EcCurveId::P192, "d989a5140936280647a1dea91f9cf83c8d39cdc64c5985ba",
     "044f45339b92fc877ac7f3d92d87e7371f3ed2c742e1bb1cba5b00557c691b11e7cdb7680e82a0a56df46c89e6d62"
     "f3df6"},
    {EcCurveId::P224, "e384211277220d467d286dbbbd63741e33f34aac41a079c3d42d2574",
     "046ae4c9959cf8e307807c8ceb5f3d6376f24dcc599be7a76e000bc65bf86ea05073616c636fcb5150e95cb276878"
     "3f25d923864d0978d48cf"},
    {EcCurveId::P256, "ea240da19d47d56b9db89a4157b3529bbb4ecd38138c8b212ec48cb5df683280",
     "04add57beaeb267f9aa0538cb52140812eca47970923214dfe0556b3ff734f82cfa8a5bccc6c6f3cc43bd27880d94"
     "fbd0f942bc01d5fc784d634a6b1f40594cd0f"},
    {EcCurveId::P384,
     "adeeb23797ae68ec8c17d5e096b88d80ff3d8001aaebd6bedb8752e5bddd116fc44969e0aef21f73f0e6bb74f2759"
     "dfb",
     "0424c08bcc14e23dada57fb6d1ff29a89ecf2e9c40a9c9a430e755381d392ba6bcc24ac1e3757b2f83be18945486e"
     "b8c98a1c9f99a5e0b66cbbf9ede79517cf6c7945bfd9a138ccc66652f34a1909fa5aa83835eb8705612c9f2e46381"
     "b6b3f941"},
    {EcCurveId::P521,
     "014a4b869430da9ae7628b5439c9a297017d175d1e40e057f79f500d59b139869dc6979f5191fec535a0ccc6b0ea2"
     "5b52e4cfffa3bebefaf0058a5d93ffff761503a",
     "0401e505677968309d35bf4d56cacbf1e63bceda9349a066cf200790c6dfd105afd1948d6a8134c5b540cf52f522e"
     "a48f9d3b947a9b7b5d4c3ee82600a835273a68f0c01c3ab8cd4e7691e91f99bd1edaabbe68b8459d596c9a03c7ae3"
     "fca74b264bc2f46b416eba16f7f56b818124cf39b54617e0d826d14b33dc9ff82b3775efa0753dab"},
    {EcCurveId::Secp256k1, "fabb0408aae36b0dd372c825d228be0ed60faf8b84a37e87ce8fe7930c1bf2f6",
     "04458e7d7c8dc659c458f1baa2c56546dff69057fe6f08a1b1c5007ba1a8823f411d3700f3b466e6639d4616da843"
     "ac37306b79351c82810ff51cbe290c1c07083"},
    {EcCurveId::BrainpoolP224r1, "5cb699eecea3e9c447c5df63d12de4101f1a66983514d342e49b0ce2",
     "04d4a9979bae968fb61124292bc3344fc8fcc8f8e661face72a22032812fd322e3fa1eac99ae8c8d3810c9de58a54"
     "437343f9f603d91e929b2"},
    {EcCurveId::BrainpoolP256r1, "64f0f6aec61b34dc80d9ecac19fcf4719e8d982e4bead69a3d6ef5bc3b441584",
     "043832cfb1a5444e77d0d75256ce18ce0f8ddfbdbadcc3bef42f3f5799b0c36ff64cabf183456777f0a8f9d9a4931"
     "5487ff06353420b6f07c9d5003ec8aa92eca8"},
    {EcCurveId::BrainpoolP320r1,
     "139e7a20c8ea9d3e3a514069ed7872b60117bfeaff8fb50329f232e053fafdbc702561c8ce4ad136",
     "0474f9b2af6e41e83930de79b74a1af320b2f4d478dd2ab42c90b79578fba46a5f80baab6f9d3c81212646d5888dc"
     "9aba85382184d25251480d7bf4a9db6e9afca111d9669b47f9f524df3923b4c094aa0"},
    {EcCurveId::BrainpoolP384r1,
     "4e05e7d0b80cc1754be7e26aa14e3624d46dfdd20eab865b137595b4aec790e13248ecc21717ed17920dcf2dd9243"
     "a47",
     "0454fc72700dfbfe6c4c5d2ca1768f167dbfe3e2c18546eae3e38ba0f3793ada4e407b00b390a38d384317a536519"
     "3fc76247a9b931ac2e60347510bfe11894e1785eabd0f6168f60e3635548fa52fe7354b8be201f979ca491fc3d95d"
     "bf09c7cf"},
    {EcCurveId::BrainpoolP512r1,
     "5b7259e63c3b107f1b08a703a8daf8af26b7221048637ea6864801e87a34af8b3f6ea78f237d0f88b1d7e7e401d3e"
     "7c533e70825e9d27c03a634f9f7011d418b",
     "041723efbbec8fca23825678dd6b27e6e7190575553fbb9300ed0349217c266a68a6c73b6d031b859cd1a5e63fdbf"
     "26e41fa667e180965d449dff9f0fa56651498919e92f8be9ff3a59c3c826a07bb5681fbf34a77500f5fc80c67e525"
     "0b5e2a9f5a0ef10038b7b6a0082f2f842486b00eecc2ef2e015c82b224d9908250dd72f8"},
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
