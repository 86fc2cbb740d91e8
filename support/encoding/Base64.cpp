#include "support/encoding/Base64.h"

#include <array>
#include <cstdint>
#include <limits>

#include "support/base/Wipe.h"

namespace certstore {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned char kNoDigit = 0xff;

constexpr std::array<unsigned char, 256> makeValues() {
    std::array<unsigned char, 256> values{};
    values.fill(kNoDigit);
    for (unsigned char i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kAlphabet[i])] = i;
    return values;
}

constexpr std::array<unsigned char, 256> kValues = makeValues();

bool isBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Whether a text may end with `rest` digits of an unfinished group and this much padding. The bits
// that no byte takes must be zero.
bool endsWell(std::uint32_t group, unsigned int rest, unsigned int padding) noexcept {
    switch (rest) {
        case 0:
            return padding == 0;
        case 2:
            return padding <= 2 && (group & 15) == 0;
        case 3:
            return padding <= 1 && (group & 3) == 0;
        default:
            return false;
    }
}

// The 24 bits of four digits; kNoGroup when one of them is none.
constexpr std::uint32_t kNoGroup = 1U << 24;

std::uint32_t groupOf(std::string_view four) noexcept {
    const auto valueAt = [four](std::size_t i) {
        return std::uint32_t{kValues[static_cast<unsigned char>(four[i])]};
    };
    const std::uint32_t a = valueAt(0), b = valueAt(1), c = valueAt(2), d = valueAt(3);
    return (a | b | c | d) < 64 ? a << 18 | b << 12 | c << 6 | d : kNoGroup;
}

unsigned char* putGroup(unsigned char* place, std::uint32_t group) noexcept {
    *place++ = static_cast<unsigned char>(group >> 16);
    *place++ = static_cast<unsigned char>(group >> 8);
    *place++ = static_cast<unsigned char>(group);
    return place;
}

template <typename AppendGroup>
void encode(ByteView bytes, AppendGroup appendGroup) {
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t here = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j)
            group = group << 8 | (j < here ? bytes[i + j] : 0U);
        char digits[4] = {kAlphabet[group >> 18], kAlphabet[group >> 12 & 63],
                          here > 1 ? kAlphabet[group >> 6 & 63] : '=',
                          here > 2 ? kAlphabet[group & 63] : '='};
        const WipeGuard guard(digits, sizeof digits);
        appendGroup(digits);
    }
}

}  // namespace

void appendBase64(StringBuffer& out, ByteView bytes) {
    encode(bytes, [&out](const char* digits) { out.append(std::string_view(digits, 4)); });
}

void appendBase64(DataBuffer& out, ByteView bytes) {
    encode(bytes, [&out](const char* digits) { out.append(digits, 4); });
}

bool decodeBase64(std::string_view text, DataBuffer& out) {
    if (text.size() > std::numeric_limits<unsigned int>::max() / 2)
        return false;
    const unsigned int start = out.getSize();
    unsigned char* const begin = out.extend(static_cast<unsigned int>(text.size() / 4 * 3 + 3));
    unsigned char* next = begin;
    std::uint32_t group = 0;
    unsigned int digits = 0, padding = 0;
    bool good = true;
    for (std::size_t at = 0; at < text.size(); ++at) {
        // Whole groups but at the ends of lines.
        while (digits % 4 == 0 && padding == 0 && text.size() - at > 4) {
            const std::uint32_t whole = groupOf(text.substr(at, 4));
            if (whole == kNoGroup)
                break;
            next = putGroup(next, whole);
            at += 4;
        }
        const unsigned char value = kValues[static_cast<unsigned char>(text[at])];
        if (value == kNoDigit) {
            padding += text[at] == '=';
            good = good && (text[at] == '=' || isBlank(text[at]));
            continue;
        }
        good = good && padding == 0;
        group = group << 6 | value;
        if (++digits % 4 == 0)
            next = putGroup(next, group);
    }
    good = good && endsWell(group, digits % 4, padding);
    if (good && digits % 4 == 2)
        *next++ = static_cast<unsigned char>(group >> 4);
    if (good && digits % 4 == 3) {
        *next++ = static_cast<unsigned char>(group >> 10);
        *next++ = static_cast<unsigned char>(group >> 2);
    }
    out.shrink(start + (good ? static_cast<unsigned int>(next - begin) : 0));
    return good;
}

}  // namespace certstore
