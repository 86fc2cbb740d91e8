#pragma once

#include <array>
#include <atomic>

#include "support/base/ZorvenObject.h"
#include "support/buffers/StringBuffer.h"

// Ordered array of heap objects that it owns: an appended object is destroyed with the array.
//
// One writer at a time (under its owner's lock); size and elements may be read by any thread while
// it appends: elements never move, and the size is published after the element it counts.
class ExtPtrArray {
public:
    ExtPtrArray() noexcept = default;
    ~ExtPtrArray();

    ExtPtrArray(const ExtPtrArray&) = delete;
    ExtPtrArray& operator=(const ExtPtrArray&) = delete;

    int getSize() const noexcept { return m_size.load(std::memory_order_acquire); }

    // Appends `obj` and takes it over, also when it cannot be stored: then it is destroyed and
    // std::bad_alloc thrown. Null is stored as it is.
    void appendObject(ZorvenObject* obj);

    // The element, still the array's; null when the index is out of range.
    ZorvenObject* elementAt(int index) const noexcept;

private:
    // Segment k holds kFirstSegment << k elements: 27 of them reach the largest int.
    static constexpr unsigned int kFirstSegment = 16;
    static constexpr int kSegments = 28;

    struct Place {
        unsigned int segment, offset;
    };
    static Place placeOf(unsigned int index) noexcept;

    std::array<std::atomic<ZorvenObject**>, kSegments> m_segments{};
    std::atomic<int> m_size{0};
};

// The same for texts.
class ExtPtrArraySb : public ExtPtrArray {
public:
    // Appends `sb` and takes it over in either case; false when it is null or cannot be stored.
    bool appendSb(StringBuffer* sb) noexcept;

    // The element, still the array's; null when the index is out of range.
    StringBuffer* sbAt(int index) const noexcept;

private:
    // Only texts go in, so that sbAt needs no check of what it hands out.
    using ExtPtrArray::appendObject;
    using ExtPtrArray::elementAt;
};
