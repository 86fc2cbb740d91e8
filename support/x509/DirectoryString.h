#pragma once

#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

// Whether an attribute of a name may have this value: a string of one of the ASN.1 types, a BIT
// STRING or a SEQUENCE. UTF8String, BMPString and UniversalString must be Unicode; in the others
// every byte is allowed, whatever their alphabet.
bool isNameValue(unsigned char tag, ByteView content) noexcept;

// The value as UTF-8, the same for every string type: T61String is read as Latin-1, BMPString as
// UTF-16, UniversalString as UTF-32. A NUL comes as \00 and a byte that is no UTF-8 as \HH, so the
// text holds neither. False, with `out` untouched, when the value is a BIT STRING or a SEQUENCE.
// Requires: isNameValue(tag, content); of other bytes only the beginning may come out.
bool appendDirectoryText(StringBuffer& out, unsigned char tag, ByteView content);

// The same, escaped as a value of a DN (RFC 4514 section 2.4), with control characters escaped
// too. What is no text becomes "#" and its whole DER encoding in hexadecimal.
void appendEscapedDirectoryText(StringBuffer& out, unsigned char tag, ByteView content,
                                ByteView whole);

// The name of a string type, such as "UTF8"; "DER" for what is no string.
std::string_view stringTypeName(unsigned char tag) noexcept;

// Appends text that should be UTF-8, with a NUL as \00 and every byte that is no UTF-8 as \HH.
void appendUtf8Lossless(StringBuffer& out, ByteView bytes);

}  // namespace certstore
