#include "support/crypto/Rsa.h"

#include <array>

#include "support/crypto/Limbs.h"
#include "support/crypto/MontgomeryModulus.h"

namespace certstore {
namespace {

static_assert(kMaxRsaModulusSize == MontgomeryModulus::kMaxLimbs * sizeof(Limb));
static_assert(kMaxRsaExponentSize == sizeof(Limb));

// 0 for every exponent that is refused.
Limb readExponent(ByteView octets) noexcept {
    Limb exponent = 0;
    if (!loadLimbs(octets, {&exponent, 1}))
        return 0;
    return exponent % 2 != 0 && exponent > 1 ? exponent : 0;
}

}  // namespace

std::size_t rsaModulusSize(const RsaPublicKey& key) noexcept {
    return stripLeadingZeros(key.modulus).size();
}

bool isUsableRsaKey(const RsaPublicKey& key) noexcept {
    const ByteView modulus = stripLeadingZeros(key.modulus);
    const bool sizeFits = !modulus.empty() && modulus.size() <= kMaxRsaModulusSize;
    return sizeFits && modulus.back() % 2 != 0 && (modulus.size() > 1 || modulus[0] > 1)
        && readExponent(key.exponent) != 0;
}

bool recoverRsaMessage(const RsaPublicKey& key, ByteView signature,
                       std::span<unsigned char> message) noexcept {
    const std::size_t size = rsaModulusSize(key);
    if (signature.size() != size || message.size() != size || !isUsableRsaKey(key))
        return false;
    MontgomeryModulus modulus;
    if (!modulus.assign(key.modulus))
        return false;

    std::array<Limb, MontgomeryModulus::kMaxLimbs> baseBuffer, resultBuffer;
    const std::span<Limb> base(baseBuffer.data(), modulus.limbCount());
    const std::span<Limb> result(resultBuffer.data(), modulus.limbCount());
    if (!loadLimbs(signature, base) || !isLess(base, modulus.limbs()))
        return false;
    modulus.raise(result, base, readExponent(key.exponent));
    storeLimbs(result, message);
    return true;
}

}  // namespace certstore
