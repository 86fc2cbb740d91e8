#pragma once

#include <cstdint>
#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace certstore {

// Addition and subtraction by the processor's carry flag, which compilers do not see in the form
// that standard C++ has for them (Limb.h): that costs the curves a fifth of their time. Every
// processor of the family has it, so nothing is asked at run time.
#ifdef __x86_64__

constexpr bool kHasCarryInstructions = true;

inline std::uint64_t addByInstruction(std::uint64_t a, std::uint64_t b,
                                      std::uint64_t& carry) noexcept {
    unsigned long long sum = 0;
    carry = _addcarry_u64(static_cast<unsigned char>(carry), a, b, &sum);
    return sum;
}

inline std::uint64_t subtractByInstruction(std::uint64_t a, std::uint64_t b,
                                           std::uint64_t& borrow) noexcept {
    unsigned long long difference = 0;
    borrow = _subborrow_u64(static_cast<unsigned char>(borrow), a, b, &difference);
    return difference;
}

#else

constexpr bool kHasCarryInstructions = false;

std::uint64_t addByInstruction(std::uint64_t, std::uint64_t, std::uint64_t&) noexcept;
std::uint64_t subtractByInstruction(std::uint64_t, std::uint64_t, std::uint64_t&) noexcept;

#endif

}  // namespace certstore
