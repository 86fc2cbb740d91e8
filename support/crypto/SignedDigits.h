#pragma once

#include <array>
#include <cstddef>

#include "support/crypto/Limbs.h"

namespace certstore {

// A scalar written with digits that are 0 or odd and of absolute value below 2^(width - 1); of any
// `width` digits in a row at most one is not 0 (width-w non-adjacent form). Digit i counts 2^i.
template <std::size_t kCount>
class SignedDigits {
public:
    static constexpr std::size_t kLength = kCount * kLimbBits + 1;

    SignedDigits(const Number<kCount>& scalar, std::size_t width) noexcept {
        Limb carry = 0;
        for (std::size_t i = 0; i < kLength;) {
            if (readBits(scalar, i, 1) == carry) {
                ++i;
                continue;
            }
            const Limb window = readBits(scalar, i, width) + carry;
            carry = window >> (width - 1);
            m_digits[i] = static_cast<signed char>(static_cast<int>(window)
                                                   - static_cast<int>(carry << width));
            i += width;
        }
    }

    int operator[](std::size_t i) const noexcept { return m_digits[i]; }

private:
    std::array<signed char, kLength> m_digits{};
};

}  // namespace certstore
