#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace certstore {

// Changes the case of the letters `first` to `first` + 25 (ASCII, 'A' or 'a') in `size` bytes of
// text; every other byte stays. Not the <cctype> functions: they follow the caller's locale.
inline void changeCase(char* text, std::size_t size, char first) noexcept {
    using Word = std::uint64_t;
    constexpr Word kEach = 0x0101010101010101, kHigh = 0x80 * kEach;
    const auto at = static_cast<unsigned char>(first);
    const Word reachesFirst = (0x80U - at) * kEach, passesLast = (0x80U - at - 26) * kEach;
    const auto changeWord = [=](char* place, std::size_t length) {
        Word word = 0;
        std::memcpy(&word, place, length);
        // The high bit of each byte of these sums tells whether the byte is that large; no sum
        // reaches into the next byte.
        const Word low = word & ~kHigh;
        const Word letters = (low + reachesFirst) & ~(low + passesLast) & ~word & kHigh;
        if (letters == 0)
            return;  // as mostly; who reads on need not wait for a store
        word ^= letters >> 2;
        std::memcpy(place, &word, length);
    };
    if (size < sizeof(Word)) {
        changeWord(text, size);
        return;
    }
    for (std::size_t i = 0; i + sizeof(Word) < size; i += sizeof(Word))
        changeWord(text + i, sizeof(Word));
    // Bytes that were changed before are none of these letters any more.
    changeWord(text + size - sizeof(Word), sizeof(Word));
}

}  // namespace certstore
