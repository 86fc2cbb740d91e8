#include "support/x509/DirectoryString.h"

#include <array>

#include "support/asn1/DerReader.h"
#include "support/encoding/Hex.h"
#include "support/encoding/Utf8.h"

namespace certstore {

namespace {

// Reads the characters of a BMPString (units of two bytes, surrogate pairs allowed) or of a
// UniversalString (units of four).
class WideText {
public:
    WideText(ByteView content, std::size_t unitSize) noexcept
        : m_rest(content), m_unitSize(unitSize) {}

    bool atEnd() const noexcept { return m_rest.empty(); }

    // The next character; false when what follows is none.
    bool next(char32_t& code) noexcept {
        if (!nextUnit(code))
            return false;
        if (m_unitSize == 2 && code >= 0xd800 && code <= 0xdbff) {
            char32_t low = 0;
            if (!nextUnit(low) || low < 0xdc00 || low > 0xdfff)
                return false;
            code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
        }
        return isUnicodeScalar(code);
    }

private:
    bool nextUnit(char32_t& unit) noexcept {
        if (m_rest.size() < m_unitSize)
            return false;
        unit = 0;
        for (const unsigned char byte : m_rest.first(m_unitSize))
            unit = unit << 8 | byte;
        m_rest = m_rest.subspan(m_unitSize);
        return true;
    }

    ByteView m_rest;
    std::size_t m_unitSize;
};

bool isWideText(WideText text) noexcept {
    char32_t code = 0;
    while (!text.atEnd())
        if (!text.next(code))
            return false;
    return true;
}

void appendWideText(StringBuffer& out, WideText text) {
    char32_t code = 0;
    while (text.next(code))
        appendUtf8Char(out, code);
}

// Whether values of this type are bytes that are meant to be UTF-8 already.
bool isByteString(unsigned char tag) noexcept {
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Utf8String:
        case DerTag::PrintableString:
        case DerTag::Ia5String:
        case DerTag::NumericString:
        case DerTag::VisibleString:
            return true;
        default:
            return false;
    }
}

// Appends a value of the other string types as UTF-8. False when its type is no string.
bool convertToUtf8(StringBuffer& out, unsigned char tag, ByteView content) {
    switch (static_cast<DerTag>(tag)) {
        case DerTag::T61String:
            for (const unsigned char latin1 : content)
                appendUtf8Char(out, latin1);
            return true;
        case DerTag::BmpString:
            appendWideText(out, WideText(content, 2));
            return true;
        case DerTag::UniversalString:
            appendWideText(out, WideText(content, 4));
            return true;
        default:
            return false;
    }
}

void appendEscapedByte(StringBuffer& out, unsigned char byte) {
    const auto digits = hexDigits(byte);
    const char escape[] = {'\\', digits[0], digits[1]};
    out.append(std::string_view(escape, sizeof escape));
}

enum class Escape : unsigned char { None, Backslash, Hex, Unless };

// How each byte of a value is written; `Unless` it starts a UTF-8 sequence, as \HH.
constexpr std::array<Escape, 256> makeEscapes() {
    std::array<Escape, 256> escapes{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        escapes[byte] = byte < 0x20 || byte == 0x7f ? Escape::Hex
            : byte < 0x80                           ? Escape::None
                                                    : Escape::Unless;
    for (const char special : {'"', '+', ',', ';', '<', '>', '\\'})
        escapes[static_cast<unsigned char>(special)] = Escape::Backslash;
    return escapes;
}

constexpr std::array<Escape, 256> kEscapes = makeEscapes();

// How many bytes from the start of `bytes` need no escape, blanks included.
std::size_t plainRun(ByteView bytes) noexcept {
    for (std::size_t size = 0;;) {
        while (size < bytes.size() && kEscapes[bytes[size]] == Escape::None)
            ++size;
        if (size == bytes.size() || kEscapes[bytes[size]] != Escape::Unless)
            return size;
        const std::size_t sequence = utf8SequenceSize(bytes.subspan(size));
        if (sequence == 0)
            return size;
        size += sequence;
    }
}

void appendEscaped(StringBuffer& out, ByteView utf8) {
    while (!utf8.empty()) {
        const std::size_t run = plainRun(utf8);
        out.append(textOf(utf8.first(run)));
        if (run == utf8.size())
            return;
        const unsigned char byte = utf8[run];
        utf8 = utf8.subspan(run + 1);
        if (kEscapes[byte] != Escape::Backslash) {
            appendEscapedByte(out, byte);
            continue;
        }
        out.appendChar('\\');
        out.appendChar(static_cast<char>(byte));
    }
}

void appendEscapedValue(StringBuffer& out, ByteView utf8) {
    // Blanks at the ends, and a "#" in front, would be read as layout.
    const bool blankEnd = utf8.size() > 1 && utf8.back() == ' ';
    if (!utf8.empty() && (utf8[0] == ' ' || utf8[0] == '#'))
        out.appendChar('\\');
    appendEscaped(out, blankEnd ? utf8.first(utf8.size() - 1) : utf8);
    if (blankEnd)
        out.append("\\ ");
}

}  // namespace

bool isNameValue(unsigned char tag, ByteView content) noexcept {
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Utf8String:
            return isUtf8(content);
        case DerTag::BmpString:
            return isWideText(WideText(content, 2));
        case DerTag::UniversalString:
            return isWideText(WideText(content, 4));
        case DerTag::BitString:
            return isWellFormedContent(tag, content);
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
    StringBuffer converted;
    if (isByteString(tag))
        appendUtf8Lossless(out, content);
    else if (convertToUtf8(converted, tag, content))
        appendUtf8Lossless(out, bytesOf(converted.view()));
    else
        return false;
    return true;
}

void appendEscapedDirectoryText(StringBuffer& out, unsigned char tag, ByteView content,
                                ByteView whole) {
    if (isByteString(tag)) {
        appendEscapedValue(out, content);
        return;
    }
    StringBuffer converted;
    if (convertToUtf8(converted, tag, content)) {
        appendEscapedValue(out, bytesOf(converted.view()));
        return;
    }
    out.appendChar('#');
    appendHex(out, whole);
}

std::string_view stringTypeName(unsigned char tag) noexcept {
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
    std::size_t from = 0, at = asciiRun(bytes);
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
