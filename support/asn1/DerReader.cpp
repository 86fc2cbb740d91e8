#include "support/asn1/DerReader.h"

namespace certstore {

namespace {

// Four length octets address 4 GiB; inputs are smaller.
constexpr std::size_t kMaxLengthOctets = 4;

bool isBoolean(ByteView octets) noexcept {
    return octets.size() == 1 && (octets[0] == 0x00 || octets[0] == 0xff);
}

bool isInteger(ByteView octets) noexcept {
    if (octets.size() < 2)
        return !octets.empty();
    return octets[1] < 0x80 ? octets[0] != 0x00 : octets[0] != 0xff;
}

bool isBitString(ByteView octets) noexcept {
    if (octets.empty() || octets[0] > 7)
        return false;
    const unsigned int unused = octets[0];
    return unused == 0 || (octets.size() > 1 && (octets.back() & ((1U << unused) - 1)) == 0);
}

}  // namespace

bool isWellFormedContent(unsigned char tag, ByteView content) noexcept {
    // EXTERNAL, EMBEDDED PDV, SEQUENCE, SET and CHARACTER STRING: in DER these universal types are
    // constructed, and no others (X.690 sections 8 and 10.2).
    constexpr unsigned int kConstructed = 1U << 8 | 1U << 11 | 1U << 16 | 1U << 17 | 1U << 29;
    switch (static_cast<DerTag>(tag)) {
        case DerTag::Boolean:
            return isBoolean(content);
        case DerTag::Integer:
        case DerTag::Enumerated:
            return isInteger(content);
        case DerTag::BitString:
            return isBitString(content);
        case DerTag::Null:
            return content.empty();
        case DerTag::Oid:
            return isWellFormedOid(content);
        case DerTag::BmpString:
            return content.size() % 2 == 0;
        case DerTag::UniversalString:
            return content.size() % 4 == 0;
        default:
            return tag >= 0x40 || ((kConstructed >> (tag & 0x1f) & 1) != 0) == ((tag & 0x20) != 0);
    }
}

DerReader::Sizes DerReader::sizesWithLongLength(ByteView rest) noexcept {
    const std::size_t octets = rest[1] & 0x7f;
    if (octets == 0 || octets > kMaxLengthOctets || rest.size() < 2 + octets)
        return {};
    std::size_t size = 0;
    for (std::size_t i = 0; i < octets; ++i)
        size = size << 8 | rest[2 + i];
    const bool minimal = size >= 0x80 && rest[2] != 0;
    return minimal ? Sizes{2 + octets, size} : Sizes{};
}

bool DerReader::readContext(unsigned char number, DerReader& inner) noexcept {
    return read(contextTag(number, true), inner.m_rest);
}

bool DerReader::readInteger(ByteView& content) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::Integer) || !isInteger(octets))
        return false;
    content = octets;
    pass(sizes);
    return true;
}

bool DerReader::readUnsigned(ByteView& magnitude) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::Integer) || !isInteger(octets) || octets[0] >= 0x80)
        return false;
    magnitude = octets[0] == 0 ? octets.subspan(1) : octets;
    pass(sizes);
    return true;
}

bool DerReader::readSmallInteger(int& value) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::Integer) || octets.size() != 1 || octets[0] >= 0x80)
        return false;
    value = octets[0];
    pass(sizes);
    return true;
}

bool DerReader::readBoolean(bool& value) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::Boolean) || !isBoolean(octets))
        return false;
    value = octets[0] != 0;
    pass(sizes);
    return true;
}

bool DerReader::readBitString(ByteView& bits, unsigned int& unusedBits) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::BitString) || !isBitString(octets))
        return false;
    bits = octets.subspan(1);
    unusedBits = octets[0];
    pass(sizes);
    return true;
}

bool DerReader::readBitString(ByteView& bytes) noexcept {
    const Sizes sizes = nextSizes();
    const ByteView octets = contentOf(sizes);
    if (!nextIs(DerTag::BitString) || octets.empty() || octets[0] != 0)
        return false;
    bytes = octets.subspan(1);
    pass(sizes);
    return true;
}

bool DerReader::readNull() noexcept {
    const Sizes sizes = nextSizes();
    if (sizes.header == 0 || !nextIs(DerTag::Null) || sizes.content != 0)
        return false;
    pass(sizes);
    return true;
}

}  // namespace certstore
