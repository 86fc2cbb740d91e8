#include "support/crypto/DsaKeys.h"

#include <array>

#include "support/base/Wipe.h"
#include "support/crypto/ConstantTimeModulus.h"
#include "support/crypto/Limbs.h"
#include "support/crypto/SecretLimbs.h"

namespace certstore {
namespace {

using Residue = ConstantTimeModulus::Residue;

static_assert(kMaxDsaPrimeSize == ConstantTimeModulus::kMaxLimbs * sizeof(Limb));

// Bits of the exponent taken at a time.
constexpr std::size_t kWindow = 4;
using Powers = std::array<Residue, 1 << kWindow>;

// What depends on the secret, in one place to be wiped.
struct Work {
    std::array<Limb, limbsForBits(256)> exponent;
    Residue power, product, factor;
};

// Every digit squares and multiplies alike, and reads the whole table.
void raise(const ConstantTimeModulus& modulus, const Powers& powers, std::size_t exponentBits,
           Work& work) noexcept {
    work.power = powers[0];
    for (std::size_t position = exponentBits; position != 0;) {
        position -= kWindow;
        for (std::size_t i = 0; i < kWindow; i += 2) {
            modulus.multiply(work.product, work.power, work.power);
            modulus.multiply(work.power, work.product, work.product);
        }
        const Limb digit = readBits(work.exponent, position, kWindow);
        for (std::size_t i = 0; i < powers.size(); ++i)
            copyMasked({work.factor.data(), modulus.limbCount()}, powers[i], maskIfEqual(i, digit));
        modulus.multiply(work.product, work.power, work.factor);
        work.power = work.product;
    }
}

}  // namespace

bool deriveDsaPublicKey(const DsaDomain& domain, ByteView x, std::span<unsigned char> y) noexcept {
    ConstantTimeModulus modulus;
    Residue g;
    if (!isDsaDomain(domain) || !modulus.assign(domain.p) || !modulus.load(domain.g, g)
        || y.size() != modulus.size())
        return false;
    Work work{};
    const WipeGuard guard(&work, sizeof work);
    decltype(work.exponent) order{};
    if (!loadLimbs(domain.q, order) || !loadSecretLimbs(x, work.exponent)
        || !isSecretWithin(work.exponent, order))
        return false;
    Powers powers;
    modulus.fillPowers(powers, g);
    raise(modulus, powers, stripLeadingZeros(domain.q).size() * 8, work);
    modulus.store(work.power, y);
    return true;
}

}  // namespace certstore
