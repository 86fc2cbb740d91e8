#include "support/crypto/MontgomeryModulus.h"

#include <algorithm>
#include <utility>

#include "support/crypto/LimbRows.h"
#include "support/crypto/Limbs.h"

namespace certstore {
namespace {

using Buffer = std::array<Limb, MontgomeryModulus::kMaxLimbs>;
using Product = std::array<Limb, 2 * MontgomeryModulus::kMaxLimbs>;

static_assert(MontgomeryModulus::kMaxLimbs % kRows == 0);

// A divisor with its highest bit set, and the complement that makes it 2^(64 * limbs).
struct Divisor {
    std::span<const Limb> limbs, complement;
};

// number = number * 2^64 mod the divisor (Knuth, TAOCP 4.3.1, algorithm D). With the highest bit
// set the quotient taken from the leading limbs is at most two too large. Adding the complement
// instead of subtracting the divisor leaves one carry to care for.
void shiftInZeroLimb(std::span<Limb> number, const Divisor& divisor) noexcept {
    const std::size_t last = number.size() - 1;
    const Limb leading = divisor.limbs[last];
    const Limb top = number[last];
    const Limb second = last == 0 ? 0 : number[last - 1];
    const Limb quotient = top < leading ? divideTwoByOne(top, second, leading) : ~Limb{0};

    Limb below = 0, carry = 0;
    for (std::size_t i = 0; i <= last; ++i) {
        const Limb shifted = std::exchange(below, number[i]);
        number[i] = multiplyAddInLoop(quotient, divisor.complement[i], shifted, carry);
    }
    Limb excess = top + carry - quotient;
    while (excess != 0)
        excess += addLimbs(number, divisor.limbs);
}

}  // namespace

bool MontgomeryModulus::assign(ByteView modulus) noexcept {
    modulus = stripLeadingZeros(modulus);
    if (modulus.empty() || modulus.size() > kMaxLimbs * sizeof(Limb))
        return false;
    const bool isOne = modulus.size() == 1 && modulus.front() == 1;
    if ((modulus.back() & 1) == 0 || isOne)
        return false;
    const std::size_t limbsUsed = limbsForBits(modulus.size() * 8);
    m_limbCount = (limbsUsed + kRows - 1) / kRows * kRows;
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
    Buffer shifted, complement{};
    const std::size_t limbsUsed = limbsForBits(countBits(limbs()));
    const std::span<Limb> modulus(shifted.data(), limbsUsed);
    const std::span<Limb> rest(complement.data(), limbsUsed);
    std::copy_n(m_limbs.begin(), limbsUsed, modulus.begin());
    const int shift = std::countl_zero(modulus.back());
    shiftLimbsLeft(modulus, shift);
    subtractLimbs(rest, modulus);

    const std::span<Limb> used = number.first(limbsUsed);
    shiftLimbsLeft(used, shift);
    for (std::size_t i = 0; i < m_limbCount; ++i)
        shiftInZeroLimb(used, {modulus, rest});
    shiftLimbsRight(used, shift);
}

void MontgomeryModulus::multiply(Limb* result, const Limb* a, const Limb* b) const noexcept {
    Product product;
    std::fill_n(product.begin(), m_limbCount, 0);
    for (std::size_t i = 0; i < m_limbCount; i += kRows) {
        RowLimbs carry{};
        addRows(&product[i], a, m_limbCount, readRows(b + i), carry);
        writeRows(&product[i + m_limbCount], carry);
    }
    reduce(result, product.data());
}

// Products of different limbs come in equal pairs: all of them once, doubled, then the squares.
void MontgomeryModulus::square(Limb* result, const Limb* a) const noexcept {
    Product product;
    std::fill_n(product.begin(), m_limbCount, 0);
    for (std::size_t i = 0, next = kRows; i < m_limbCount; i = next, next += kRows) {
        RowLimbs carry{};
        addRows(&product[i + next], a + next, m_limbCount - next, readRows(a + i), carry);
        writeRows(&product[i + m_limbCount], carry);
    }
    const std::span<Limb> whole(product.data(), 2 * m_limbCount);
    addLimbs(whole, whole);
    RowLimbs carry{};
    for (std::size_t i = 0; i < m_limbCount; i += kRows) {
        addRows(&product[2 * i], a + i, kRows, readRows(a + i), carry);
        carry = {addToRows(&product[2 * i + kRows], carry, 0)};
    }
    reduce(result, product.data());
}

// Montgomery's reduction: adds multiples of the modulus until the lower half of `product`, which
// has twice the limbs, is zero. What is left is below twice the modulus.
void MontgomeryModulus::reduce(Limb* result, Limb* product) const noexcept {
    const std::size_t count = m_limbCount;
    Limb top = 0;
    for (std::size_t i = 0; i < count; i += kRows) {
        RowLimbs carry;
        const RowLimbs quotient = findQuotient(product + i, carry);
        addRows(product + i + kRows, &m_limbs[kRows], count - kRows, quotient, carry);
        top = addToRows(product + i + count, carry, top);
    }
    std::copy_n(product + count, count, result);
    if (top != 0 || !isLess({result, count}, limbs()))
        subtractLimbs({result, count}, limbs());
}

// What the modulus is to be multiplied by to clear the lowest kRows limbs of `product`, and what
// that carries on to the limbs above.
[[gnu::always_inline]] inline RowLimbs MontgomeryModulus::findQuotient(
    const Limb* product, RowLimbs& carry) const noexcept {
    RowLimbs quotient;
    Limb sum[2 * kRows];
    unroll<kRows>([&](auto i) __attribute__((always_inline)) { sum[i] = product[i]; });
    unroll<kRows>([&](auto row) __attribute__((always_inline)) {
        quotient.row[row] = sum[row] * m_negatedInverse;
        Limb high = 0;
        unroll<kRows>([&](auto i) __attribute__((always_inline)) {
            sum[row + i] = multiplyAddInLoop(quotient.row[row], m_limbs[i], sum[row + i], high);
        });
        sum[row + kRows] = high;
    });
    carry = readRows(sum + kRows);
    return quotient;
}

}  // namespace certstore
