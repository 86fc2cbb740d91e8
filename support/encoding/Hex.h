#pragma once

#include <array>
#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

// The two upper-case digits of one byte.
std::array<char, 2> hexDigits(unsigned char byte) noexcept;

// Appends two upper-case digits a byte, without separators.
void appendHex(StringBuffer& out, ByteView bytes);

// The value of one hexadecimal digit of either case, or -1.
int hexValue(char digit) noexcept;

}  // namespace certstore
