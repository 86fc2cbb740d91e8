#pragma once

#include <cstddef>

#include "support/crypto/Limb.h"

namespace certstore {

// The running sum of one column of a long multiplication: all products of limbs whose places add up
// to the same. Three limbs hold more columns' worth than any number here has limbs. Column by
// column beats row by row because a row reads and writes the whole result for each limb.
class ProductColumn {
public:
    constexpr void add(Limb a, Limb b) noexcept {
        Limb high = 0;
        m_low = multiplyAdd(a, b, m_low, high);
        m_middle += high;
        m_high += static_cast<Limb>(m_middle < high);
    }

    // Adds a[0] * b[0] + a[1] * b[-1] + ..., `count` products: one number up, the other one down.
    // Two at a time: the counts change with every column, and longer strides make the processor
    // guess wrongly at each end.
    constexpr void addProducts(const Limb* a, const Limb* b, std::size_t count) noexcept {
        for (; count >= 2; count -= 2, a += 2, b -= 2) {
            add(a[0], b[0]);
            add(a[1], b[-1]);
        }
        if (count != 0)
            add(a[0], b[0]);
    }

    constexpr void addTwice(const ProductColumn& other) noexcept {
        add(other);
        add(other);
    }

    constexpr Limb low() const noexcept { return m_low; }

    // Takes the finished lowest limb out and goes on to the next column.
    constexpr Limb next() noexcept {
        const Limb finished = m_low;
        m_low = m_middle;
        m_middle = m_high;
        m_high = 0;
        return finished;
    }

private:
    constexpr void add(const ProductColumn& other) noexcept {
        Limb carry = 0;
        m_low = addWithCarry(m_low, other.m_low, carry);
        m_middle = addWithCarry(m_middle, other.m_middle, carry);
        m_high += other.m_high + carry;
    }

    Limb m_low = 0;
    Limb m_middle = 0;
    Limb m_high = 0;
};

}  // namespace certstore
