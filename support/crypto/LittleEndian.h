#pragma once

#include <cstddef>
#include <cstdint>

#include "support/crypto/Unroll.h"

namespace certstore {

// Reads sizeof(Word) octets, 4 or 8, least significant first. Spelt out without a loop: compilers
// then make it one load.
template <class Word>
constexpr Word loadLittleEndian(const unsigned char* octets) noexcept {
    static_assert(sizeof(Word) == 4 || sizeof(Word) == 8);
    if constexpr (sizeof(Word) == 8)
        return std::uint64_t{loadLittleEndian<std::uint32_t>(octets + 4)} << 32
            | loadLittleEndian<std::uint32_t>(octets);
    else
        return static_cast<Word>(octets[3]) << 24 | static_cast<Word>(octets[2]) << 16
            | static_cast<Word>(octets[1]) << 8 | octets[0];
}

// Writes sizeof(Word) octets, least significant first; without a loop for the same reason.
template <class Word>
constexpr void storeLittleEndian(Word word, unsigned char* octets) noexcept {
    unroll<sizeof(Word)>([&](auto i) { octets[i] = static_cast<unsigned char>(word >> (8 * i)); });
}

}  // namespace certstore
