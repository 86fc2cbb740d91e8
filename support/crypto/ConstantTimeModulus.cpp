#include "support/crypto/ConstantTimeModulus.h"

#include <algorithm>

#include "support/crypto/Limbs.h"
#include "support/crypto/SecretLimbs.h"

namespace certstore {

bool ConstantTimeModulus::assign(ByteView modulus) noexcept {
    modulus = stripLeadingZeros(modulus);
    if (modulus.empty() || modulus.size() > kMaxLimbs * sizeof(Limb))
        return false;
    const bool isOne = modulus.size() == 1 && modulus.front() == 1;
    if ((modulus.back() & 1) == 0 || isOne)
        return false;
    m_limbCount = limbsForBits(modulus.size() * 8);
    loadLimbs(modulus, {m_limbs.data(), m_limbCount});
    m_negatedInverse = negatedInverse(m_limbs[0]);
    computePowersOfTwo();
    return true;
}

// Doubling the highest power of two below the modulus leads to R = 2^(64 * limbCount), a 1 in
// Montgomery form. limbCount doublings and six squarings of that form make 2^(64 * limbCount) in
// Montgomery form, which is R^2.
void ConstantTimeModulus::computePowersOfTwo() noexcept {
    const std::size_t topBit = countBits(limbs()) - 1;
    m_one = {};
    m_one[topBit / kLimbBits] = Limb{1} << topBit % kLimbBits;
    for (std::size_t bit = topBit; bit < m_limbCount * kLimbBits; ++bit)
        twice(m_one);
    m_rSquared = m_one;
    for (std::size_t i = 0; i < m_limbCount; ++i)
        twice(m_rSquared);
    for (int exponent = 1; exponent < kLimbBits; exponent *= 2) {
        const Residue root = m_rSquared;
        multiply(m_rSquared, root, root);
    }
}

std::size_t ConstantTimeModulus::size() const noexcept {
    return (countBits(limbs()) + 7) / 8;
}

bool ConstantTimeModulus::load(ByteView octets, Residue& residue) const noexcept {
    Residue number;
    const std::span<Limb> value(number.data(), m_limbCount);
    if (!loadLimbs(octets, value) || !isLess(value, limbs()))
        return false;
    multiply(residue, number, m_rSquared);
    return true;
}

void ConstantTimeModulus::store(const Residue& residue,
                                std::span<unsigned char> octets) const noexcept {
    Residue number;
    multiply(number, residue, {1});
    storeLimbs({number.data(), m_limbCount}, octets);
}

// Row by row, the multiple of the modulus that clears the lowest limb added in the same pass. All
// on the way lives in `result`, so that callers know what there is to wipe.
void ConstantTimeModulus::multiply(Residue& result, const Residue& a,
                                   const Residue& b) const noexcept {
    const std::size_t last = m_limbCount - 1;
    std::fill_n(result.begin(), m_limbCount, 0);
    Limb top = 0;
    for (std::size_t row = 0; row <= last; ++row) {
        Limb carry = 0, multipleCarry = 0;
        Limb sum = multiplyAdd(a[0], b[row], result[0], carry);
        const Limb factor = sum * m_negatedInverse;
        multiplyAdd(factor, m_limbs[0], sum, multipleCarry);
        for (std::size_t i = 1; i <= last; ++i) {
            sum = multiplyAdd(a[i], b[row], result[i], carry);
            result[i - 1] = multiplyAdd(factor, m_limbs[i], sum, multipleCarry);
        }
        result[last] = addWithCarry(carry, multipleCarry, top);
    }
    subtractModulus(result, top);
}

void ConstantTimeModulus::fillPowers(std::span<Residue> powers,
                                     const Residue& base) const noexcept {
    powers[0] = m_one;
    powers[1] = base;
    for (std::size_t i = 2; i < powers.size(); ++i)
        multiply(powers[i], powers[i - 1], base);
}

void ConstantTimeModulus::twice(Residue& number) const noexcept {
    const std::span<Limb> value(number.data(), m_limbCount);
    const Limb top = value.back() >> (kLimbBits - 1);
    shiftLimbsLeft(value, 1);
    subtractModulus(number, top);
}

// (top : number) is below twice the modulus.
void ConstantTimeModulus::subtractModulus(Residue& number, Limb top) const noexcept {
    Limb borrow = 0;
    for (std::size_t i = 0; i < m_limbCount; ++i)
        subtractWithBorrow(number[i], m_limbs[i], borrow);
    const Limb mask = hideMask(static_cast<Limb>(top < borrow) - 1);
    borrow = 0;
    for (std::size_t i = 0; i < m_limbCount; ++i)
        number[i] = subtractWithBorrow(number[i], m_limbs[i] & mask, borrow);
}

}  // namespace certstore
