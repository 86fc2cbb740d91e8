#pragma once

#include <cstddef>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

namespace certstore {

// What four length octets can tell, less what the buffers hold: nothing here comes near.
constexpr std::size_t kMaxDerSize = std::size_t{1} << 31;

// Bytes that tag and length take in front of a content of this size, at most kMaxDerSize.
constexpr std::size_t derHeaderSize(std::size_t contentSize) noexcept {
    return contentSize < 0x80     ? 2
        : contentSize < 0x100     ? 3
        : contentSize < 0x10000   ? 4
        : contentSize < 0x1000000 ? 5
                                  : 6;
}

// Appends tag and length; the content follows from the caller. Throws std::bad_alloc.
void appendDerHeader(DataBuffer& out, unsigned char tag, std::size_t contentSize);

// Appends a whole value.
void appendDer(DataBuffer& out, unsigned char tag, ByteView content);

}  // namespace certstore
