#pragma once

#include <cstddef>
#include <cstdint>

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

// Writes sizeof(Word) octets, least significant first.
template <class Word>
constexpr void storeLittleEndian(Word word, unsigned char* octets) noexcept {
    for (std::size_t i = 0; i < sizeof(Word); ++i, word = static_cast<Word>(word >> 8))
        octets[i] = static_cast<unsigned char>(word);
}

}  // namespace certstore
