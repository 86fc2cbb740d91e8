#pragma once

#include "support/base/ByteView.h"

// Growable buffer that owns its bytes: DER encodings and raw key identifiers. Holds at most
// 4 GiB - 1; what would be larger, or cannot be allocated, throws std::bad_alloc and leaves the
// content as it was. So every function that appends to one may throw it.
class DataBuffer {
public:
    DataBuffer() noexcept = default;
    ~DataBuffer();

    DataBuffer(const DataBuffer&) = delete;
    DataBuffer& operator=(const DataBuffer&) = delete;

    // Empties the buffer and keeps its storage; wipes the content first when m_secure is set.
    void clear() noexcept;

    // Overwrites the whole storage with zeros, then empties the buffer.
    void secureClear() noexcept;

    // Adds a copy of `bytes`, which may lie within this buffer.
    void append(certstore::ByteView bytes);
    void append(const void* data, unsigned int size);
    void appendByte(unsigned char byte);

    // Makes the buffer `size` bytes longer and returns where they begin, for the caller to fill.
    unsigned char* extend(unsigned int size);

    // Cuts the buffer down to its first `size` bytes; wipes the rest when m_secure is set.
    void shrink(unsigned int size) noexcept;

    // Makes room for `size` bytes in all, so that appends up to there cannot fail.
    void reserve(unsigned int size);

    unsigned int getSize() const noexcept { return m_size; }

    // The bytes, valid until the buffer is next changed. May be null when the buffer is empty.
    const unsigned char* getData2() const noexcept { return m_data; }
    certstore::ByteView view() const noexcept { return {m_data, m_size}; }

    // True when both hold the same bytes. Not constant in time: for public data.
    bool equals(const DataBuffer& other) const noexcept;

    // The content is secret: every release of its storage (growth, clear, destruction) wipes it.
    // To be set before the secret goes in.
    bool m_secure = false;

private:
    // Makes room for `more` bytes behind the content, with some to spare for the next ones.
    void growBy(std::size_t more);
    void releaseStorage() noexcept;

    unsigned char* m_data = nullptr;
    unsigned int m_size = 0;
    unsigned int m_capacity = 0;
};
