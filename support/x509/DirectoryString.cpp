#include "support/x509/DirectoryString.h"

#include "support/asn1/DerReader.h"
#include "support/encoding/Hex.h"
#include "support/encoding/Utf8.h"

namespace certstore {

namespace {

char32_t unitAt(ByteView content, std::size_t at, std::size_t size) noexcept {
    char32_t unit = 0;
    for (std::size_t i = 0; i < size; ++i)
        unit = unit << 8 | content[at + i];
    return unit;
}

bool appendLatin1(StringBuffer& out, ByteView content) {
    for (const unsigned char byte : content)
        appendUtf8Char(out, byte);
    return true;
}

// Requires: an even number of bytes.
bool appendUtf16(StringBuffer& out, ByteView content) {
    for (std::size_t i = 0; i < content.size(); i += 2) {
        char32_t code = unitAt(content, i, 2);
        if (code >= 0xd800 && code <= 0xdbff && i + 4 <= content.size()) {
            const char32_t low = unitAt(content, i + 2, 2);
            if (low < 0xdc00 || low > 0xdfff)
                return false;
            code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
            i += 2;
        }
        if (!isUnicodeScalar(code))
            return false;
        appendUtf8Char(out, code);
    }
    return true;
}

// Requires: a multiple of four bytes.
bool appendUtf32(StringBuffer& out, ByteView content) {
    for (std::size_t i = 0; i < content.size(); i += 4) {
        const char32_t code = unitAt(content, i, 4);
        if (!isUnicodeScalar(code))
            return false;
        appendUtf8Char(out, code);
    }
    return true;
}

// The value as bytes that are meant to be UTF-8: its own ones where the type allows, else those
// written to `scratch`. False when it is no text.
bool toUtf8(unsigned char tag, ByteView content, StringBuffer& scratch, ByteView& utf8) {
    bool good = false;
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Utf8String:
        case DerTag::PrintableString:
        case DerTag::Ia5String:
        case DerTag::NumericString:
        case DerTag::VisibleString:
            utf8 = content;
            return true;
        case DerTag::T61String:
            good = appendLatin1(scratch, content);
            break;
        case DerTag::BmpString:
            good = appendUtf16(scratch, content);
            break;
        case DerTag::UniversalString:
            good = appendUtf32(scratch, content);
            break;
        default:
            break;
    }
    utf8 = bytesOf(scratch.view());
    return good;
}

void appendEscapedByte(StringBuffer& out, unsigned char byte) {
    const auto digits = hexDigits(byte);
    const char escape[] = {'\\', digits[0], digits[1]};
    out.append(std::string_view(escape, sizeof escape));
}

// How many bytes from the start of `bytes` need no escape anywhere in a value, blanks included.
std::size_t plainRun(ByteView bytes, std::string_view special) noexcept {
    std::size_t size = 0;
    while (size < bytes.size()) {
        const unsigned char byte = bytes[size];
        if (byte < 0x20 || byte == 0x7f || special.find(static_cast<char>(byte)) != special.npos)
            break;
        const std::size_t sequence = byte < 0x80 ? 1 : utf8SequenceSize(bytes.subspan(size));
        if (sequence == 0)
            break;
        size += sequence;
    }
    return size;
}

void appendEscaped(StringBuffer& out, ByteView utf8) {
    constexpr std::string_view kSpecial = "\"+,;<>\\";
    std::size_t at = 0;
    while (at < utf8.size()) {
        const std::size_t run = plainRun(utf8.subspan(at), kSpecial);
        out.append(textOf(utf8.subspan(at, run)));
        at += run;
        if (at == utf8.size())
            break;
        const unsigned char byte = utf8[at++];
        if (kSpecial.find(static_cast<char>(byte)) == kSpecial.npos) {
            appendEscapedByte(out, byte);
            continue;
        }
        out.appendChar('\\');
        out.appendChar(static_cast<char>(byte));
    }
}

}  // namespace

bool isNameValue(unsigned char tag, ByteView content) noexcept {
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Utf8String:
            return isUtf8(content);
        case DerTag::BmpString:
            return content.size() % 2 == 0;
        case DerTag::UniversalString:
            return content.size() % 4 == 0;
        case DerTag::BitString:
            return !content.empty() && content[0] <= 7;
        case DerTag::PrintableString:
        case DerTag::Ia5String:
        case DerTag::NumericString:
        case DerTag::VisibleString:
        case DerTag::T61String:
        case DerTag::Sequence:
            return true;
        default:
            return false;
    }
}

bool appendDirectoryText(StringBuffer& out, unsigned char tag, ByteView content) {
    StringBuffer scratch;
    ByteView utf8;
    if (!toUtf8(tag, content, scratch, utf8))
        return false;
    appendUtf8Lossless(out, utf8);
    return true;
}

void appendEscapedDirectoryText(StringBuffer& out, unsigned char tag, ByteView content,
                                ByteView whole) {
    StringBuffer scratch;
    ByteView utf8;
    if (!toUtf8(tag, content, scratch, utf8)) {
        out.appendChar('#');
        appendHex(out, whole);
        return;
    }
    // Blanks at the ends, and a "#" in front, would be read as layout.
    const bool blankEnd = utf8.size() > 1 && utf8.back() == ' ';
    if (!utf8.empty() && (utf8[0] == ' ' || utf8[0] == '#'))
        out.appendChar('\\');
    appendEscaped(out, blankEnd ? utf8.first(utf8.size() - 1) : utf8);
    if (blankEnd)
        out.append("\\ ");
}

const char* stringTypeName(unsigned char tag) noexcept {
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Utf8String:
            return "UTF8";
        case DerTag::PrintableString:
            return "PRINTABLE";
        case DerTag::Ia5String:
            return "IA5";
        case DerTag::NumericString:
            return "NUMERIC";
        case DerTag::VisibleString:
            return "VISIBLE";
        case DerTag::T61String:
            return "T61";
        case DerTag::BmpString:
            return "BMP";
        case DerTag::UniversalString:
            return "UNIVERSAL";
        default:
            return "DER";
    }
}

void appendUtf8Lossless(StringBuffer& out, ByteView bytes) {
    std::size_t from = 0, at = 0;
    while (at < bytes.size()) {
        const std::size_t size = bytes[at] == 0 ? 0 : utf8SequenceSize(bytes.subspan(at));
        if (size != 0) {
            at += size;
            continue;
        }
        out.append(textOf(bytes.subspan(from, at - from)));
        appendEscapedByte(out, bytes[at++]);
        from = at;
    }
    out.append(textOf(bytes.subspan(from)));
}

}  // namespace certstore
