#include "support/encoding/Utf8.h"

#include <cstdint>
#include <cstring>

namespace certstore {

std::size_t utf8SequenceSize(ByteView bytes) noexcept {
    if (bytes.empty())
        return 0;
    const unsigned char lead = bytes[0];
    if (lead < 0x80)
        return 1;
    if (lead < 0xc2 || lead > 0xf4)
        return 0;
    const std::size_t size = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (bytes.size() < size)
        return 0;
    for (std::size_t i = 1; i < size; ++i)
        if ((bytes[i] & 0xc0) != 0x80)
            return 0;
    const bool overlong = (lead == 0xe0 && bytes[1] < 0xa0) || (lead == 0xf0 && bytes[1] < 0x90);
    const bool surrogate = lead == 0xed && bytes[1] > 0x9f;
    const bool beyond = lead == 0xf4 && bytes[1] > 0x8f;
    return overlong || surrogate || beyond ? 0 : size;
}

char32_t utf8CharAt(ByteView bytes) noexcept {
    const std::size_t size = utf8SequenceSize(bytes);
    // The lead byte gives what its length marker leaves: 7, 5, 4 or 3 bits.
    char32_t code = size == 1 ? bytes[0] : bytes[0] & (0x7fU >> size);
    for (const unsigned char byte : bytes.first(size).subspan(1))
        code = code << 6 | (byte & 0x3fU);
    return code;
}

std::size_t asciiRun(ByteView bytes) noexcept {
    constexpr std::uint64_t kLow = 0x0101010101010101, kHigh = 0x8080808080808080;
    std::size_t size = 0;
    for (std::uint64_t word = 0; bytes.size() - size >= sizeof word; size += sizeof word) {
        std::memcpy(&word, bytes.data() + size, sizeof word);
        // The subtraction sets the high bit of the first byte that is zero.
        if (((word - kLow) | word) & kHigh)
            break;
    }
    while (size < bytes.size() && bytes[size] != 0 && bytes[size] < 0x80)
        ++size;
    return size;
}

bool isUtf8(ByteView bytes) noexcept {
    for (std::size_t at = asciiRun(bytes); at < bytes.size();) {
        const std::size_t size = utf8SequenceSize(bytes.subspan(at));
        if (size == 0)
            return false;
        at += size;
        at += asciiRun(bytes.subspan(at));
    }
    return true;
}

bool isUnicodeScalar(char32_t code) noexcept {
    return code < 0xd800 || (code > 0xdfff && code <= 0x10ffff);
}

void appendUtf8Char(StringBuffer& out, char32_t code) {
    const auto tail = [code](int shift) {
        return static_cast<char>(0x80 | (code >> shift & 0x3f));
    };
    if (code < 0x80) {
        out.appendChar(static_cast<char>(code));
    } else if (code < 0x800) {
        const char text[] = {static_cast<char>(0xc0 | code >> 6), tail(0)};
        out.append(std::string_view(text, 2));
    } else if (code < 0x10000) {
        const char text[] = {static_cast<char>(0xe0 | code >> 12), tail(6), tail(0)};
        out.append(std::string_view(text, 3));
    } else {
        const char text[] = {static_cast<char>(0xf0 | code >> 18), tail(12), tail(6), tail(0)};
        out.append(std::string_view(text, 4));
    }
}

}  // namespace certstore
