#pragma once

#include <cstddef>
#include <cstdint>

namespace certstore {

// Reads sizeof(Word) octets, 4 or 8, most significant first. Spelt out without a loop: compilers
// then make it one load.
template <class Word>
constexpr Word loadBigEndian(const unsigned char* octets) noexcept {
    static_assert(sizeof(Word) == 4 || sizeof(Word) == 8);
    if constexpr (sizeof(Word) == 8)
        return std::uint64_t{loadBigEndian<std::uint32_t>(octets)} << 32
            | loadBigEndian<std::uint32_t>(octets + 4);
    else
        return static_cast<Word>(octets[0]) << 24 | static_cast<Word>(octets[1]) << 16
            | static_cast<Word>(octets[2]) << 8 | octets[3];
}

// Writes sizeof(Word) octets, 4 or 8, most significant first; spelt out for the same reason.
template <class Word>
constexpr void storeBigEndian(Word word, unsigned char* octets) noexcept {
    static_assert(sizeof(Word) == 4 || sizeof(Word) == 8);
    if constexpr (sizeof(Word) == 8) {
        storeBigEndian(static_cast<std::uint32_t>(word >> 32), octets);
        storeBigEndian(static_cast<std::uint32_t>(word), octets + 4);
        return;
    }
    octets[0] = static_cast<unsigned char>(word >> 24);
    octets[1] = static_cast<unsigned char>(word >> 16);
    octets[2] = static_cast<unsigned char>(word >> 8);
    octets[3] = static_cast<unsigned char>(word);
}

}  // namespace certstore
