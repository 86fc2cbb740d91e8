#include "support/asn1/DerWriter.h"

namespace certstore {

void appendDerHeader(DataBuffer& out, unsigned char tag, std::size_t contentSize) {
    out.appendByte(tag);
    const std::size_t octets = derHeaderSize(contentSize) - 2;
    if (octets != 0)
        out.appendByte(static_cast<unsigned char>(0x80 | octets));
    for (std::size_t i = octets; i-- > 1;)
        out.appendByte(static_cast<unsigned char>(contentSize >> (8 * i)));
    out.appendByte(static_cast<unsigned char>(contentSize));
}

void appendDer(DataBuffer& out, unsigned char tag, ByteView content) {
    appendDerHeader(out, tag, content.size());
    out.append(content);
}

}  // namespace certstore
