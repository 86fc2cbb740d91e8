#include "support/crypto/MontgomeryModulus.h"

#include <algorithm>
#include <utility>

#include "support/crypto/Limbs.h"
#include "support/crypto/ProductColumn.h"

namespace certstore {
namespace {

using Buffer = std::array<Limb, MontgomeryModulus::kMaxLimbs>;

// number = number * 2^64 mod `modulus`, whose highest bit is set (Knuth, TAOCP 4.3.1, algorithm D).
// With that bit set the quotient taken from the leading limbs is at most two too large.
void shiftInZeroLimb(std::span<Limb> number, std::span<const Limb> modulus) noexcept {
    const std::size_t last = number.size() - 1;
    const Limb top = number[last];
    const Limb second = last == 0 ? 0 : number[last - 1];
    const Limb quotient =
        top < modulus[last] ? divideTwoByOne(top, second, modulus[last]) : ~Limb{0};

    Limb below = 0, carry = 0, borrow = 0;
    for (std::size_t i = 0; i <= last; ++i) {
        const Limb product = multiplyAdd(quotient, modulus[i], 0, carry);
        const Limb shifted = std::exchange(below, number[i]);
        number[i] = subtractWithBorrow(shifted, product, borrow);
    }
    Limb excess = top - carry - borrow;
    while (excess != 0)
        excess += addLimbs(number, modulus);
}

}  // namespace

bool MontgomeryModulus::assign(ByteView modulus) noexcept {
    modulus = stripLeadingZeros(modulus);
    if (modulus.empty() || modulus.size() > kMaxLimbs * sizeof(Limb))
        return false;
    const bool isOne = modulus.size() == 1 && modulus.front() == 1;
    if ((modulus.back() & 1) == 0 || isOne)
        return false;
    m_limbCount = limbsForBits(modulus.size() * 8);
    loadLimbs(modulus, {m_limbs.data(), m_limbCount});
    m_negatedInverse = negatedInverse(m_limbs[0]);
    return true;
}

void MontgomeryModulus::raise(std::span<Limb> result, std::span<const Limb> base,
                              Limb exponent) const noexcept {
    Buffer baseForm, first, second;
    std::copy(base.begin(), base.end(), baseForm.begin());
    enterMontgomeryForm({baseForm.data(), m_limbCount});
    std::copy_n(baseForm.begin(), m_limbCount, first.begin());

    Limb* power = first.data();
    Limb* spare = second.data();
    for (int bit = kLimbBits - 1 - std::countl_zero(exponent); bit-- > 1;) {
        square(spare, power);
        std::swap(power, spare);
        if ((exponent >> bit & 1) == 0)
            continue;
        multiply(spare, power, baseForm.data());
        std::swap(power, spare);
    }
    // The lowest bit is set. Multiplying by the base as it came leaves the Montgomery form.
    square(spare, power);
    multiply(result.data(), spare, base.data());
}

// Appending zero limbs with a long division costs less than one multiplication, whereas the usual
// product with R^2 would need that constant first, which costs more than half of a whole check.
void MontgomeryModulus::enterMontgomeryForm(std::span<Limb> number) const noexcept {
    Buffer shifted{};
    std::copy_n(m_limbs.begin(), m_limbCount, shifted.begin());
    const std::span<Limb> modulus(shifted.data(), m_limbCount);
    const int shift = std::countl_zero(modulus.back());
    shiftLimbsLeft(modulus, shift);
    shiftLimbsLeft(number, shift);
    for (std::size_t i = 0; i < m_limbCount; ++i)
        shiftInZeroLimb(number, modulus);
    shiftLimbsRight(number, shift);
}

void MontgomeryModulus::multiply(Limb* result, const Limb* a, const Limb* b) const noexcept {
    reduceColumns(result, [=](ProductColumn& sum, std::size_t first, std::size_t last) {
        sum.addProducts(a + first, b + last, last - first + 1);
    });
}

// Products of different limbs come in equal pairs.
void MontgomeryModulus::square(Limb* result, const Limb* a) const noexcept {
    reduceColumns(result, [=](ProductColumn& sum, std::size_t first, std::size_t last) {
        const std::size_t count = last - first + 1;
        ProductColumn half;
        half.addProducts(a + first, a + last, count / 2);
        sum.addTwice(half);
        if (count % 2 != 0)
            sum.add(a[first + count / 2], a[first + count / 2]);
    });
}

// Montgomery's reduction merged into a multiplication column by column (FIPS in the naming of Koc,
// Acar and Kaliski). `addColumn(sum, first, last)` adds the products of the column whose indices
// run from `first` to `last`. The multiples of the modulus live in `result` until their places get
// their final value, thus `result` is not one of the factors.
template <class AddColumn>
void MontgomeryModulus::reduceColumns(Limb* result, AddColumn addColumn) const noexcept {
    const Limb* modulus = m_limbs.data();
    const std::size_t last = m_limbCount - 1;
    ProductColumn sum;
    for (std::size_t i = 0; i <= last; ++i) {
        addColumn(sum, std::size_t{0}, i);
        sum.addProducts(result, modulus + i, i);
        result[i] = sum.low() * m_negatedInverse;
        sum.add(result[i], modulus[0]);
        sum.next();
    }
    for (std::size_t i = 1; i <= last; ++i) {
        addColumn(sum, i, last);
        sum.addProducts(result + i, modulus + last, last - i + 1);
        result[i - 1] = sum.next();
    }
    result[last] = sum.next();
    const std::span<Limb> value(result, m_limbCount);
    if (sum.low() != 0 || !isLess(value, limbs()))
        subtractLimbs(value, limbs());
}

}  // namespace certstore
