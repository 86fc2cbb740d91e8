#pragma once

#include <cstddef>

#include "support/asn1/Oid.h"
#include "support/base/ByteView.h"

namespace certstore {

// Identifier octets that the readers of this library meet (X.690 section 8.1.2).
enum class DerTag : unsigned char {
    Boolean = 0x01,
    Integer = 0x02,
    BitString = 0x03,
    OctetString = 0x04,
    Null = 0x05,
    Oid = 0x06,
    Enumerated = 0x0a,
    Utf8String = 0x0c,
    NumericString = 0x12,
    PrintableString = 0x13,
    T61String = 0x14,
    Ia5String = 0x16,
    UtcTime = 0x17,
    GeneralizedTime = 0x18,
    VisibleString = 0x1a,
    UniversalString = 0x1c,
    BmpString = 0x1e,
    Sequence = 0x30,
    Set = 0x31,
};

// The identifier octet of [number], number below 31.
constexpr unsigned char contextTag(unsigned char number, bool constructed) noexcept {
    return static_cast<unsigned char>(0x80 | (constructed ? 0x20 : 0) | number);
}

// Whether a value with this identifier octet may have this content, as far as its type says: for
// values of any type, which none of the readers below is asked for. The characters of strings and
// times are not looked at, nor are values within it.
bool isWellFormedContent(unsigned char tag, ByteView content) noexcept;

// A cursor over DER (X.690 section 10). It owns nothing, copies nothing and does not move when a
// read fails. Lengths are definite and minimal; multi-byte tags are not read (no certificate has
// them where we look). Nested values are read through a cursor of their own, so nothing recurses.
class DerReader {
public:
    DerReader() noexcept = default;
    explicit DerReader(ByteView bytes) noexcept : m_rest(bytes) {}

    bool atEnd() const noexcept { return m_rest.empty(); }
    ByteView rest() const noexcept { return m_rest; }

    // The identifier octet of the next value; 0, which is no tag of DER, at the end.
    unsigned char peekTag() const noexcept { return m_rest.empty() ? 0 : m_rest[0]; }
    bool nextIs(DerTag tag) const noexcept { return peekTag() == static_cast<unsigned char>(tag); }

    // The content of the next value, which must have this tag.
    [[nodiscard]] bool read(unsigned char tag, ByteView& content) noexcept;
    [[nodiscard]] bool read(DerTag tag, ByteView& content) noexcept {
        return read(static_cast<unsigned char>(tag), content);
    }

    // The next value whatever its tag: its content, and the whole of it with tag and length.
    [[nodiscard]] bool readAny(unsigned char& tag, ByteView& content, ByteView& whole) noexcept;

    [[nodiscard]] bool readSequence(DerReader& inner) noexcept;
    // The same, and the whole SEQUENCE with tag and length.
    [[nodiscard]] bool readSequence(DerReader& inner, ByteView& whole) noexcept;
    [[nodiscard]] bool readSet(DerReader& inner) noexcept;
    // The inside of the constructed [number].
    [[nodiscard]] bool readContext(unsigned char number, DerReader& inner) noexcept;

    // Content octets, at least one, without superfluous leading 00 or FF.
    [[nodiscard]] bool readInteger(ByteView& content) noexcept;
    // The magnitude of an INTEGER that is not negative, without the leading 00 of its sign.
    [[nodiscard]] bool readUnsigned(ByteView& magnitude) noexcept;
    // An INTEGER from 0 to 127.
    [[nodiscard]] bool readSmallInteger(int& value) noexcept;
    [[nodiscard]] bool readBoolean(bool& value) noexcept;
    // Content octets of a well-formed OBJECT IDENTIFIER.
    [[nodiscard]] bool readOid(ByteView& content) noexcept;
    // The bits and how many of the last byte's are unused (0 to 7, and zero in value).
    [[nodiscard]] bool readBitString(ByteView& bits, unsigned int& unusedBits) noexcept;
    // A BIT STRING of whole bytes.
    [[nodiscard]] bool readBitString(ByteView& bytes) noexcept;
    [[nodiscard]] bool readNull() noexcept;

private:
    // The sizes of a value's tag with length, 0 when there is no value, and of its content.
    struct Sizes {
        std::size_t header = 0, content = 0;
    };

    // Those of the next value, whose content ends within the rest. They and what hands them on are
    // values and not out-arguments so that the steps of the inline readers stay in registers:
    // bytes stored in halves and loaded whole would stall the processor at every value.
    Sizes nextSizes() const noexcept;
    // The same for the long form of a length, which must be minimal.
    static Sizes sizesWithLongLength(ByteView rest) noexcept;

    // Empty where there is no value, which only a NULL may be.
    ByteView contentOf(Sizes sizes) const noexcept {
        return m_rest.subspan(sizes.header, sizes.content);
    }
    void pass(Sizes sizes) noexcept { m_rest = m_rest.subspan(sizes.header + sizes.content); }

    ByteView m_rest;
};

// Inline, as every value of every certificate comes through here, and most are short.
inline DerReader::Sizes DerReader::nextSizes() const noexcept {
    if (m_rest.size() < 2 || (m_rest[0] & 0x1f) == 0x1f || m_rest[0] == 0)
        return {};
    const Sizes sizes = m_rest[1] < 0x80 ? Sizes{2, m_rest[1]} : sizesWithLongLength(m_rest);
    return sizes.content <= m_rest.size() - sizes.header ? sizes : Sizes{};
}

inline bool DerReader::readAny(unsigned char& tag, ByteView& content, ByteView& whole) noexcept {
    const Sizes sizes = nextSizes();
    if (sizes.header == 0)
        return false;
    tag = m_rest[0];
    whole = m_rest.first(sizes.header + sizes.content);
    content = contentOf(sizes);
    pass(sizes);
    return true;
}

inline bool DerReader::read(unsigned char tag, ByteView& content) noexcept {
    const Sizes sizes = nextSizes();
    if (sizes.header == 0 || m_rest[0] != tag)
        return false;
    content = contentOf(sizes);
    pass(sizes);
    return true;
}

inline bool DerReader::readSequence(DerReader& inner) noexcept {
    return read(DerTag::Sequence, inner.m_rest);
}

inline bool DerReader::readSequence(DerReader& inner, ByteView& whole) noexcept {
    unsigned char tag = 0;
    return nextIs(DerTag::Sequence) && readAny(tag, inner.m_rest, whole);
}

inline bool DerReader::readSet(DerReader& inner) noexcept {
    return read(DerTag::Set, inner.m_rest);
}

inline bool DerReader::readOid(ByteView& content) noexcept {
    const Sizes sizes = nextSizes();
    if (!nextIs(DerTag::Oid) || !isWellFormedOid(contentOf(sizes)))
        return false;
    content = contentOf(sizes);
    pass(sizes);
    return true;
}

}  // namespace certstore
