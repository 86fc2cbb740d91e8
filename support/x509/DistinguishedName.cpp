#include "support/x509/DistinguishedName.h"

#include "support/asn1/DerReader.h"
#include "support/encoding/Hex.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/NameAttributes.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

int hexPairAt(std::string_view text, std::size_t at) noexcept {
    if (at + 1 >= text.size())
        return -1;
    const int high = certstore::hexValue(text[at]), low = certstore::hexValue(text[at + 1]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

// Reads a typed DN from left to right, one attribute at a time.
class DnReader {
public:
    explicit DnReader(std::string_view text) noexcept : m_text(text) {}

    // The next attribute's name and its value, with escapes and quotes resolved to bytes.
    bool next(std::string_view& name, StringBuffer& value) {
        const std::size_t equals = m_text.find('=', m_at);
        if (equals == std::string_view::npos)
            return false;
        name = trimmed(m_text.substr(m_at, equals - m_at));
        m_at = std::min(m_text.find_first_not_of(kBlanks, equals + 1), m_text.size());
        value.weakClear();
        if (m_at < m_text.size() && m_text[m_at] == '#')
            readHexValue(value);
        else
            readValue(value);
        return true;
    }

private:
    // Up to the separator, which is passed. Blanks in front of it count only when escaped or
    // quoted.
    void readValue(StringBuffer& value) {
        bool quoted = false;
        std::size_t blanks = 0;
        while (m_at < m_text.size()) {
            const char c = m_text[m_at++];
            if (c == '"') {
                quoted = !quoted;
                continue;
            }
            if (!quoted && (c == ',' || c == ';' || c == '+'))
                return;
            if (!quoted && kBlanks.find(c) != std::string_view::npos) {
                ++blanks;
                continue;
            }
            value.append(m_text.substr(m_at - 1 - blanks, blanks));
            blanks = 0;
            value.appendChar(c == '\\' && m_at < m_text.size() ? readEscape() : c);
        }
    }

    char readEscape() noexcept {
        const int byte = hexPairAt(m_text, m_at);
        m_at += byte < 0 ? 1 : 2;
        return byte < 0 ? m_text[m_at - 1] : static_cast<char>(byte);
    }

    // RFC 4514 section 2.4: the DER encoding of the value. What is none stays as typed.
    void readHexValue(StringBuffer& value) {
        const std::size_t end = std::min(m_text.find_first_of(",;+", m_at), m_text.size());
        const std::string_view typed = trimmed(m_text.substr(m_at, end - m_at));
        m_at = std::min(end + 1, m_text.size());
        StringBuffer bytes;
        for (std::size_t i = 1; i < typed.size() && hexPairAt(typed, i) >= 0; i += 2)
            bytes.appendChar(static_cast<char>(hexPairAt(typed, i)));
        certstore::DerReader der(certstore::bytesOf(bytes.view()));
        certstore::ByteView content, whole;
        unsigned char tag = 0;
        const bool isDer = bytes.getSize() * 2 + 1 == typed.size()
            && der.readAny(tag, content, whole) && der.atEnd()
            && certstore::isNameValue(tag, content);
        if (!isDer || !certstore::appendDirectoryText(value, tag, content))
            value.append(typed);
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

}  // namespace

bool DistinguishedName::getDnPart(const char* dn, const char* part, StringBuffer& value, LogBase&) {
    const std::string_view wanted = part ? part : "";
    DnReader reader(dn ? dn : "");
    std::string_view name;
    StringBuffer bytes;
    while (reader.next(name, bytes)) {
        if (!certstore::isSameAttributeName(name, wanted))
            continue;
        certstore::appendUtf8Lossless(value, certstore::bytesOf(bytes.view()));
        return true;
    }
    return false;
}
