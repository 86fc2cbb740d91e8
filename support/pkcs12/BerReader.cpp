#include "support/pkcs12/BerReader.h"

#include <cstdint>
#include <vector>

#include "support/asn1/DerWriter.h"

namespace certstore {

namespace {

constexpr unsigned char kConstructed = 0x20;
constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kOctetStringInPieces = kOctetString | kConstructed;

// One value's identifier and length octets.
struct Header {
    unsigned char tag = 0;
    bool indefinite = false;
    std::size_t size = 0;  // of the content, unless indefinite

    bool isConstructed() const noexcept { return (tag & kConstructed) != 0; }
};

bool readLength(ByteView& rest, Header& header) noexcept {
    const unsigned char first = rest[0];
    rest = rest.subspan(1);
    header.indefinite = first == 0x80;
    if (first < 0x80) {
        header.size = first;
        return header.size <= rest.size();
    }
    std::size_t octets = first & 0x7f;
    if (octets > rest.size())
        return false;
    for (; octets != 0; --octets) {
        // Zeros in front are superfluous and allowed; what does not fit the input is not.
        if (header.size > rest.size())
            return false;
        header.size = header.size << 8 | rest[0];
        rest = rest.subspan(1);
    }
    return header.size <= rest.size();
}

bool readHeader(ByteView& rest, Header& header) noexcept {
    if (rest.size() < 2 || (rest[0] & 0x1f) == 0x1f || rest[0] == 0)
        return false;
    header = {rest[0], false, 0};
    rest = rest.subspan(1);
    return readLength(rest, header) && (!header.indefinite || header.isConstructed());
}

bool takeEndOfContents(ByteView& rest) noexcept {
    if (rest.size() < 2 || rest[0] != 0 || rest[1] != 0)
        return false;
    rest = rest.subspan(2);
    return true;
}

// Walks all values twice in the same order: to learn how long each becomes, since a length stands
// in front of its content, and to write them.
class Rewriter {
public:
    // NOLINTBEGIN(misc-no-recursion): no deeper than m_maxDepth, which measureContent sees to

    explicit Rewriter(unsigned int maxDepth) noexcept : m_maxDepth(maxDepth) {}

    // Measures the first value of `rest`, which moves behind it.
    BerResult measure(ByteView& rest, unsigned int depth, std::size_t& derSize) {
        Header header;
        if (!readHeader(rest, header))
            return BerResult::Malformed;
        const std::size_t place = m_sizes.size();
        m_sizes.push_back(static_cast<std::uint32_t>(header.size));
        if (header.isConstructed()) {
            std::size_t contentSize = 0;
            const BerResult result = measureContent(rest, header, depth, contentSize);
            if (result != BerResult::Good)
                return result;
            m_sizes[place] = static_cast<std::uint32_t>(contentSize);
        } else {
            rest = rest.subspan(header.size);
        }
        derSize = derHeaderSize(m_sizes[place]) + m_sizes[place];
        return BerResult::Good;
    }

    // Writes what measure() has measured before.
    void write(ByteView& rest, DataBuffer& der) {
        Header header;
        (void)readHeader(rest, header);
        const std::uint32_t size = m_sizes[m_next++];
        const bool inPieces = header.tag == kOctetStringInPieces;
        appendDerHeader(der, inPieces ? kOctetString : header.tag, size);
        if (header.isConstructed())
            writeContent(rest, header, inPieces, der);
        else
            writePrimitive(rest, header, der);
    }

private:
    BerResult measureContent(ByteView& rest, const Header& header, unsigned int depth,
                             std::size_t& contentSize) {
        if (depth >= m_maxDepth)
            return BerResult::TooDeep;
        const bool inPieces = header.tag == kOctetStringInPieces;
        ByteView inner = header.indefinite ? rest : rest.first(header.size);
        while (header.indefinite ? !takeEndOfContents(inner) : !inner.empty()) {
            if (inPieces && (inner.empty() || (inner[0] | kConstructed) != kOctetStringInPieces))
                return BerResult::Malformed;
            const std::size_t piece = m_sizes.size();
            std::size_t derSize = 0;
            const BerResult result = measure(inner, depth + 1, derSize);
            if (result != BerResult::Good)
                return result;
            // Of a piece only the content goes into the whole.
            contentSize += inPieces ? m_sizes[piece] : derSize;
        }
        rest = header.indefinite ? inner : rest.subspan(header.size);
        return BerResult::Good;
    }

    void writeContent(ByteView& rest, const Header& header, bool inPieces, DataBuffer& der) {
        ByteView inner = header.indefinite ? rest : rest.first(header.size);
        while (header.indefinite ? !takeEndOfContents(inner) : !inner.empty())
            inPieces ? writePiece(inner, der) : write(inner, der);
        rest = header.indefinite ? inner : rest.subspan(header.size);
    }

    void writePiece(ByteView& rest, DataBuffer& der) {
        Header header;
        (void)readHeader(rest, header);
        ++m_next;
        if (header.isConstructed())
            writeContent(rest, header, true, der);
        else
            writePrimitive(rest, header, der);
    }

    // NOLINTEND(misc-no-recursion)

    static void writePrimitive(ByteView& rest, const Header& header, DataBuffer& der) {
        der.append(rest.first(header.size));
        rest = rest.subspan(header.size);
    }

    unsigned int m_maxDepth;
    std::vector<std::uint32_t> m_sizes;  // of the contents, in the order of the walk
    std::size_t m_next = 0;
};

}  // namespace

BerResult readBer(ByteView ber, unsigned int maxDepth, DataBuffer& der) {
    if (ber.size() > kMaxDerSize)
        return BerResult::Malformed;
    Rewriter rewriter(maxDepth);
    ByteView rest = ber;
    std::size_t derSize = 0;
    const BerResult result = rewriter.measure(rest, 0, derSize);
    if (result != BerResult::Good)
        return result;
    der.reserve(static_cast<unsigned int>(der.getSize() + derSize));
    rewriter.write(ber, der);
    return BerResult::Good;
}

}  // namespace certstore
