#include <algorithm>

#include "support/base/Wipe.h"
#include "support/crypto/CurveKeys.h"
#include "support/crypto/EdwardsGroup.h"
#include "support/crypto/Sha2.h"
#include "support/crypto/Sha3.h"

namespace certstore {
namespace {

template <class Curve>
using EncodedPoint = typename EdwardsGroup<Curve>::EncodedPoint;

// All that computing [scalar]B leaves behind, wiped together.
template <class Curve>
class BaseMultiplier {
public:
    BaseMultiplier() = default;
    ~BaseMultiplier() { wipe(&m_work, sizeof m_work); }
    BaseMultiplier(const BaseMultiplier&) = delete;
    BaseMultiplier& operator=(const BaseMultiplier&) = delete;

    // Doubles and adds for every bit of the little-endian scalar, whether it is set or not: the
    // formulas hold for all points, and nothing depends on the bits but masks.
    EncodedPoint<Curve> multiply(ByteView scalar) noexcept {
        const auto base = Group::toAddend(Group::extend(Group::kBase));
        m_work.sum = {Group::kNeutral, Field::kZero};
        for (std::size_t i = scalar.size() * 8; i-- > 0;) {
            m_work.factors = Group::twice(m_work.sum);
            m_work.sum = Group::toExtended(m_work.factors);
            m_work.factors = Group::add(m_work.sum, base);
            m_work.sumWithBase = Group::toExtended(m_work.factors);
            assignIf(scalar[i / 8] >> (i % 8) & 1);
        }
        m_work.inverse = Field::invert(m_work.sum.z);
        return Group::encode(
            typename Group::AffinePoint{Field::multiply(m_work.sum.x, m_work.inverse),
                                        Field::multiply(m_work.sum.y, m_work.inverse)});
    }

private:
    using Group = EdwardsGroup<Curve>;
    using Field = typename Curve::Field;

    void assignIf(Limb bit) noexcept {
        Field::assignIf(bit, m_work.sum.x, m_work.sumWithBase.x);
        Field::assignIf(bit, m_work.sum.y, m_work.sumWithBase.y);
        Field::assignIf(bit, m_work.sum.z, m_work.sumWithBase.z);
        Field::assignIf(bit, m_work.sum.t, m_work.sumWithBase.t);
    }

    struct {
        typename Group::ExtendedPoint sum, sumWithBase;
        typename Group::Factors factors;
        typename Field::Element inverse;
    } m_work;
};

template <class Curve>
void storeBaseMultiple(ByteView scalar, std::span<unsigned char, Curve::kPointSize> publicKey) {
    const EncodedPoint<Curve> point = BaseMultiplier<Curve>().multiply(scalar);
    std::copy(point.begin(), point.end(), publicKey.begin());
}

}  // namespace

bool deriveEd25519PublicKey(ByteView seed, std::span<unsigned char, 32> publicKey) noexcept {
    if (seed.size() != Edwards25519::kPointSize)
        return false;
    std::array<unsigned char, Sha512::kDigestSize> digest;
    const WipeGuard guard(digest.data(), digest.size());
    Sha512 hash;
    hash.update(seed);
    hash.finish(digest);
    digest[0] &= 0xf8;
    digest[31] = static_cast<unsigned char>((digest[31] & 0x3f) | 0x40);
    storeBaseMultiple<Edwards25519>(std::span(digest).first<32>(), publicKey);
    return true;
}

bool deriveEd448PublicKey(ByteView seed, std::span<unsigned char, 57> publicKey) noexcept {
    if (seed.size() != Edwards448::kPointSize)
        return false;
    // The first half of the hash but its last octet, which would be cleared.
    std::array<unsigned char, 56> scalar;
    const WipeGuard guard(scalar.data(), scalar.size());
    KeccakSponge shake256(136, 0x1f);
    shake256.absorb(seed);
    shake256.squeeze(scalar);
    scalar[0] &= 0xfc;
    scalar[55] |= 0x80;
    storeBaseMultiple<Edwards448>(scalar, publicKey);
    return true;
}

}  // namespace certstore
