#pragma once

#include "support/crypto/Limb.h"

namespace certstore {

// A sum of products of limbs, modulo 2^128: a difference may pass below zero on its way.
#ifdef __SIZEOF_INT128__

class WideSum {
public:
    constexpr void addProduct(Limb a, Limb b) noexcept { m_sum += static_cast<DoubleLimb>(a) * b; }
    constexpr void add(Limb a) noexcept { m_sum += a; }
    constexpr void add(const WideSum& other) noexcept { m_sum += other.m_sum; }
    constexpr void subtract(const WideSum& other) noexcept { m_sum -= other.m_sum; }

    constexpr Limb low() const noexcept { return static_cast<Limb>(m_sum); }

    // The lowest limb of the sum divided by 2^bits, 0 < bits < 64.
    constexpr Limb shifted(int bits) const noexcept { return static_cast<Limb>(m_sum >> bits); }

private:
    DoubleLimb m_sum = 0;
};

#else

class WideSum {
public:
    constexpr void addProduct(Limb a, Limb b) noexcept {
        Limb high = 0;
        m_low = multiplyAdd(a, b, m_low, high);
        m_high += high;
    }

    constexpr void add(Limb a) noexcept {
        Limb carry = 0;
        m_low = addWithCarry(m_low, a, carry);
        m_high += carry;
    }

    constexpr void add(const WideSum& other) noexcept {
        add(other.m_low);
        m_high += other.m_high;
    }

    constexpr void subtract(const WideSum& other) noexcept {
        Limb borrow = 0;
        m_low = subtractWithBorrow(m_low, other.m_low, borrow);
        m_high -= other.m_high + borrow;
    }

    constexpr Limb low() const noexcept { return m_low; }

    constexpr Limb shifted(int bits) const noexcept {
        return m_low >> bits | m_high << (kLimbBits - bits);
    }

private:
    Limb m_low = 0;
    Limb m_high = 0;
};

#endif

}  // namespace certstore
