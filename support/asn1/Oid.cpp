#include "support/asn1/Oid.h"

#include <cstdint>
#include <string>

#include "support/encoding/Hex.h"

namespace certstore {

namespace {

// Splits the next arc, its groups of seven bits still as encoded, off well-formed content octets.
ByteView takeArc(ByteView& content) noexcept {
    std::size_t size = 1;
    while (content[size - 1] >= 0x80)
        ++size;
    const ByteView arc = content.first(size);
    content = content.subspan(size);
    return arc;
}

void appendArc(StringBuffer& out, ByteView arc, bool first) {
    // Nine groups are 63 bits.
    if (arc.size() > 9) {
        out.append(first ? "2.0x" : "0x");
        appendHex(out, arc);
        return;
    }
    std::uint64_t value = 0;
    for (const unsigned char octet : arc)
        value = value << 7 | (octet & 0x7f);
    if (first) {
        const std::uint64_t root = value < 80 ? value / 40 : 2;
        out.append(std::to_string(root));
        out.appendChar('.');
        value -= root * 40;
    }
    out.append(std::to_string(value));
}

}  // namespace

bool isWellFormedOid(ByteView content) noexcept {
    if (content.empty() || content.back() >= 0x80)
        return false;
    unsigned char before = 0;
    for (const unsigned char octet : content) {
        if (octet == 0x80 && before < 0x80)
            return false;
        before = octet;
    }
    return true;
}

void appendDottedOid(StringBuffer& out, ByteView content) {
    for (bool first = true; !content.empty(); first = false) {
        if (!first)
            out.appendChar('.');
        appendArc(out, takeArc(content), first);
    }
}

}  // namespace certstore
