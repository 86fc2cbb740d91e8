#pragma once

#include <cstddef>

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

// How many bytes the UTF-8 sequence at the start of `bytes` has, 1 to 4; 0 when there is none:
// cut, overlong, a surrogate or beyond U+10FFFF (RFC 3629).
std::size_t utf8SequenceSize(ByteView bytes) noexcept;

// The character that this sequence is. Requires: utf8SequenceSize(bytes) != 0.
char32_t utf8CharAt(ByteView bytes) noexcept;

// How many bytes from the start of `bytes` are ASCII and not NUL: mostly all of them.
std::size_t asciiRun(ByteView bytes) noexcept;

bool isUtf8(ByteView bytes) noexcept;

// Whether `code` is a character that UTF-8 can hold.
bool isUnicodeScalar(char32_t code) noexcept;

// Appends one character. Requires: isUnicodeScalar(code).
void appendUtf8Char(StringBuffer& out, char32_t code);

}  // namespace certstore
