#include "support/asn1/DerReader.h"

namespace certstore {

namespace {

// Four length octets address 4 GiB; inputs are smaller.
constexpr std::size_t kMaxLengthOctets = 4;

}  // namespace

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
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.read(DerTag::Integer, octets) || octets.empty())
        return false;
    if (octets.size() > 1
        && ((octets[0] == 0x00 && octets[1] < 0x80) || (octets[0] == 0xff && octets[1] >= 0x80)))
        return false;
    content = octets;
    *this = ahead;
    return true;
}

bool DerReader::readUnsigned(ByteView& magnitude) noexcept {
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.readInteger(octets) || octets[0] >= 0x80)
        return false;
    magnitude = octets[0] == 0 ? octets.subspan(1) : octets;
    *this = ahead;
    return true;
}

bool DerReader::readSmallInteger(int& value) noexcept {
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.readInteger(octets) || octets.size() != 1 || octets[0] >= 0x80)
        return false;
    value = octets[0];
    *this = ahead;
    return true;
}

bool DerReader::readBoolean(bool& value) noexcept {
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.read(DerTag::Boolean, octets) || octets.size() != 1)
        return false;
    if (octets[0] != 0x00 && octets[0] != 0xff)
        return false;
    value = octets[0] != 0;
    *this = ahead;
    return true;
}

bool DerReader::readBitString(ByteView& bits, unsigned int& unusedBits) noexcept {
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.read(DerTag::BitString, octets) || octets.empty() || octets[0] > 7)
        return false;
    const unsigned int unused = octets[0];
    if (unused != 0 && (octets.size() == 1 || (octets.back() & ((1U << unused) - 1)) != 0))
        return false;
    bits = octets.subspan(1);
    unusedBits = unused;
    *this = ahead;
    return true;
}

bool DerReader::readBitString(ByteView& bytes) noexcept {
    DerReader ahead = *this;
    ByteView octets;
    unsigned int unusedBits = 0;
    if (!ahead.readBitString(octets, unusedBits) || unusedBits != 0)
        return false;
    bytes = octets;
    *this = ahead;
    return true;
}

bool DerReader::readNull() noexcept {
    DerReader ahead = *this;
    ByteView octets;
    if (!ahead.read(DerTag::Null, octets) || !octets.empty())
        return false;
    *this = ahead;
    return true;
}

}  // namespace certstore
