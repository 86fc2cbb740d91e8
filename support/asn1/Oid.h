#pragma once

#include <array>
#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

// Whether these content octets are an OBJECT IDENTIFIER: at least one arc, each complete and
// without leading padding (X.690 section 8.19).
bool isWellFormedOid(ByteView content) noexcept;

// Appends the dotted form of well-formed content octets. Arcs beyond 64 bits (found only in
// hostile input) are written in hexadecimal, "0x" in front: different OIDs never give one text.
void appendDottedOid(StringBuffer& out, ByteView content);

// The content octets of a dotted OID, computed while compiling, so that tables can show OIDs as
// standards write them. At most kMaxSize octets.
struct OidBytes {
    static constexpr std::size_t kMaxSize = 15;

    std::array<unsigned char, kMaxSize> bytes{};
    unsigned char size = 0;

    consteval explicit OidBytes(std::string_view dotted) {
        unsigned long long first = 0;
        for (unsigned int arc = 0; !dotted.empty(); ++arc) {
            unsigned long long value = 0;
            while (!dotted.empty() && dotted[0] != '.') {
                value = value * 10 + static_cast<unsigned long long>(dotted[0] - '0');
                dotted.remove_prefix(1);
            }
            if (!dotted.empty())
                dotted.remove_prefix(1);
            if (arc == 0)
                first = value * 40;
            else
                addArc(arc == 1 ? first + value : value);
        }
    }

    constexpr ByteView view() const noexcept { return ByteView(bytes.data(), size); }

    // The last octet first: there the OIDs of a family differ.
    friend bool operator==(const OidBytes& oid, ByteView content) noexcept {
        return oid.size == content.size() && oid.bytes[oid.size - 1] == content.back()
            && equalBytes(oid.view(), content);
    }

private:
    consteval void addArc(unsigned long long value) {
        int groups = 1;
        for (unsigned long long rest = value >> 7; rest != 0; rest >>= 7)
            ++groups;
        for (int i = groups - 1; i >= 0; --i)
            bytes[size++] =
                static_cast<unsigned char>((value >> (7 * i) & 0x7f) | (i != 0 ? 0x80 : 0));
    }
};

}  // namespace certstore
