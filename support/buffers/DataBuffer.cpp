#include "support/buffers/DataBuffer.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "support/base/Wipe.h"

namespace {

constexpr std::size_t kMaxSize = std::numeric_limits<unsigned int>::max();
constexpr std::size_t kFirstCapacity = 64;

}  // namespace

DataBuffer::~DataBuffer() {
    releaseStorage();
}

void DataBuffer::releaseStorage() noexcept {
    // The whole capacity: an earlier, longer content may stand behind the present one.
    if (m_secure)
        certstore::wipe(m_data, m_capacity);
    delete[] m_data;
}

void DataBuffer::clear() noexcept {
    if (m_secure)
        certstore::wipe(m_data, m_capacity);
    m_size = 0;
}

void DataBuffer::secureClear() noexcept {
    certstore::wipe(m_data, m_capacity);
    m_size = 0;
}

void DataBuffer::reserve(unsigned int size) {
    if (size <= m_capacity)
        return;
    auto* grown = new unsigned char[size];
    if (m_size != 0)
        std::memcpy(grown, m_data, m_size);
    releaseStorage();
    m_data = grown;
    m_capacity = size;
}

void DataBuffer::growBy(std::size_t more) {
    if (more > kMaxSize - m_size)
        throw std::bad_alloc();
    const std::size_t needed = m_size + more;
    if (needed <= m_capacity)
        return;
    const std::size_t roomy = std::max({needed, kFirstCapacity, std::size_t{m_capacity} * 2});
    reserve(static_cast<unsigned int>(std::min(roomy, kMaxSize)));
}

unsigned char* DataBuffer::extend(unsigned int size) {
    growBy(size);
    unsigned char* place = m_data + m_size;
    m_size += size;
    return place;
}

void DataBuffer::shrink(unsigned int size) noexcept {
    if (size >= m_size)
        return;
    if (m_secure)
        certstore::wipe(m_data + size, m_size - size);
    m_size = size;
}

void DataBuffer::append(certstore::ByteView bytes) {
    if (bytes.empty())
        return;
    if (bytes.size() > kMaxSize)
        throw std::bad_alloc();
    const auto begin = reinterpret_cast<std::uintptr_t>(m_data);
    const auto source = reinterpret_cast<std::uintptr_t>(bytes.data());
    const bool within = source >= begin && source < begin + m_size;
    unsigned char* place = extend(static_cast<unsigned int>(bytes.size()));
    // Growing may have moved the very bytes that are to be appended.
    std::memcpy(place, within ? m_data + (source - begin) : bytes.data(), bytes.size());
}

void DataBuffer::append(const void* data, unsigned int size) {
    append({static_cast<const unsigned char*>(data), size});
}

void DataBuffer::appendByte(unsigned char byte) {
    append({&byte, 1});
}

bool DataBuffer::equals(const DataBuffer& other) const noexcept {
    return certstore::equalBytes(view(), other.view());
}
