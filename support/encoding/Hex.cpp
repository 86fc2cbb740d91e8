#include "support/encoding/Hex.h"

namespace certstore {

std::array<char, 2> hexDigits(unsigned char byte) noexcept {
    constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[byte >> 4], kDigits[byte & 15]};
}

void appendHex(StringBuffer& out, ByteView bytes) {
    for (const unsigned char byte : bytes) {
        const auto digits = hexDigits(byte);
        out.append(std::string_view(digits.data(), digits.size()));
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
