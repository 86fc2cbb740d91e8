#include "support/encoding/Hex.h"

#include <cstring>

namespace certstore {

namespace {

using Digits = std::array<char, 2>;

// A table of pairs: key identifiers and serial numbers are written for most searches.
constexpr std::array<Digits, 256> makePairs() {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::array<Digits, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte)
        pairs[byte] = {kDigits[byte >> 4], kDigits[byte & 15]};
    return pairs;
}

constexpr std::array<Digits, 256> kPairs = makePairs();

}  // namespace

std::array<char, 2> hexDigits(unsigned char byte) noexcept {
    return kPairs[byte];
}

void appendHex(StringBuffer& out, ByteView bytes) {
    char* place = out.extend(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        std::memcpy(place, kPairs[byte].data(), 2);
        place += 2;
    }
}

int hexValue(char digit) noexcept {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

}  // namespace certstore
