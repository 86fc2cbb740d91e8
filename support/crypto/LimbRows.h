#pragma once

#include <cstddef>

#include "support/crypto/Limb.h"
#include "support/crypto/Unroll.h"

namespace certstore {

// Long multiplication four rows at a time. One row alone would read and write the whole sum for
// each limb of a factor; four share that, and what they carry stays in registers.
constexpr std::size_t kRows = 4;

// One limb for each row: what it multiplies by, or what it carries on.
struct RowLimbs {
    Limb row[kRows];
};

// multiplyAdd() in steps of one limb, for loops: GCC takes wider sums there through memory.
[[gnu::always_inline]] constexpr Limb multiplyAddInLoop(Limb a, Limb b, Limb addend,
                                                        Limb& carry) noexcept {
    Limb high = 0;
    Limb low = multiplyAdd(a, b, 0, high);
    low += addend;
    high += static_cast<Limb>(low < addend);
    low += carry;
    high += static_cast<Limb>(low < carry);
    carry = high;
    return low;
}

// sum += number * factor over `count` limbs of both, a multiple of kRows. `carry` brings in what
// comes from the limbs below, and takes out what goes to the kRows limbs above.
[[gnu::always_inline]] constexpr void addRows(Limb* sum, const Limb* number, std::size_t count,
                                              const RowLimbs& factor, RowLimbs& carry) noexcept {
    const RowLimbs by = factor;
    RowLimbs held = carry;
    for (std::size_t start = 0; start < count; start += kRows) {
        unroll<kRows>([&](auto offset) __attribute__((always_inline)) {
            const std::size_t i = start + offset;
            const Limb limb = number[i];
            Limb high = sum[i];
            sum[i] = multiplyAddInLoop(limb, by.row[0], held.row[0], high);
            held.row[0] = multiplyAddInLoop(limb, by.row[1], held.row[1], high);
            held.row[1] = multiplyAddInLoop(limb, by.row[2], held.row[2], high);
            held.row[2] = multiplyAddInLoop(limb, by.row[3], held.row[3], high);
            held.row[3] = high;
        });
    }
    carry = held;
}

// Copying limb by limb, as wider loads would wait for the limbs just written.
[[gnu::always_inline]] constexpr RowLimbs readRows(const Limb* limbs) noexcept {
    return {limbs[0], limbs[1], limbs[2], limbs[3]};
}

[[gnu::always_inline]] constexpr void writeRows(Limb* limbs, const RowLimbs& rows) noexcept {
    unroll<kRows>([&](auto i) __attribute__((always_inline)) { limbs[i] = rows.row[i]; });
}

// Adds to kRows limbs of `sum`; returns the new carry, 0 or 1.
[[gnu::always_inline]] constexpr Limb addToRows(Limb* sum, const RowLimbs& rows,
                                                Limb carry) noexcept {
    unroll<kRows>([&](auto i) __attribute__((always_inline)) {
        sum[i] = addWithCarry(sum[i], rows.row[i], carry);
    });
    return carry;
}

}  // namespace certstore
