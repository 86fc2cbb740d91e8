#include "support/containers/ExtPtrArray.h"

#include <bit>
#include <limits>
#include <new>

ExtPtrArray::~ExtPtrArray() {
    const int size = getSize();
    for (int i = 0; i < size; ++i)
        ZorvenObject::deleteObject(elementAt(i));
    for (auto& segment : m_segments)
        delete[] segment.load(std::memory_order_relaxed);
}

// Counting from kFirstSegment on, the highest bit of the number tells the segment.
ExtPtrArray::Place ExtPtrArray::placeOf(unsigned int index) noexcept {
    const unsigned int shifted = index + kFirstSegment;
    const unsigned int highest = std::bit_floor(shifted);
    const int segment = std::countr_zero(highest) - std::countr_zero(kFirstSegment);
    return {static_cast<unsigned int>(segment), shifted - highest};
}

void ExtPtrArray::appendObject(ZorvenObject* obj) {
    ZorvenOwner<ZorvenObject> guard(obj);
    const int size = m_size.load(std::memory_order_relaxed);
    if (size == std::numeric_limits<int>::max())
        throw std::bad_alloc();
    const Place place = placeOf(static_cast<unsigned int>(size));
    ZorvenObject** segment = m_segments[place.segment].load(std::memory_order_relaxed);
    if (!segment) {
        segment = new ZorvenObject*[std::size_t{kFirstSegment} << place.segment];
        m_segments[place.segment].store(segment, std::memory_order_release);
    }
    segment[place.offset] = guard.release();
    m_size.store(size + 1, std::memory_order_release);
}

ZorvenObject* ExtPtrArray::elementAt(int index) const noexcept {
    if (index < 0 || index >= getSize())
        return nullptr;
    const Place place = placeOf(static_cast<unsigned int>(index));
    return m_segments[place.segment].load(std::memory_order_acquire)[place.offset];
}

bool ExtPtrArraySb::appendSb(StringBuffer* sb) noexcept {
    if (!sb)
        return false;
    try {
        appendObject(sb);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

StringBuffer* ExtPtrArraySb::sbAt(int index) const noexcept {
    return static_cast<StringBuffer*>(elementAt(index));
}
