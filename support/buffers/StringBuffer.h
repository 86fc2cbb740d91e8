#pragma once

#include <algorithm>
#include <string_view>

#include "support/base/ZorvenObject.h"

// Growable UTF-8 text that owns its bytes and is always NUL-terminated; the type of every index
// key. Short texts lie within the object. Holds at most 4 GiB - 2 bytes; an append that needs
// more, or memory that there is not, throws std::bad_alloc and never truncates: the text stays
// as it was; so every function that appends to one may throw it. Texts given in may lie within the
// buffer itself. A null C string counts as empty.
class StringBuffer : public ZorvenObject {
public:
    StringBuffer() noexcept : m_data(m_inline) { m_inline[0] = '\0'; }
    ~StringBuffer() override { releaseStorage(); }

    // A new heap buffer with a copy of `text`, which the caller owns; null when it cannot be made.
    static StringBuffer* createNewSB(const char* text) noexcept;

    void append(const char* text);
    void append(const StringBuffer& other);
    void append(std::string_view text);
    void appendChar(char c) { append(std::string_view(&c, 1)); }

    // Makes the text `size` bytes longer and returns where they begin, for the caller to fill.
    char* extend(std::size_t size);

    void prepend(const char* text);

    // Empties the text and gives its storage up.
    void clear() noexcept;
    // Empties the text and keeps its storage for the next one.
    void weakClear() noexcept {
        m_size = 0;
        m_data[0] = '\0';
    }

    // ASCII letters only; every other byte stays.
    void toUpperCase() noexcept;
    void toLowerCase() noexcept;

    // Cuts blanks, tabs, CR, LF, vertical tabs and form feeds off both ends.
    void trim2() noexcept;

    bool beginsWith(const char* prefix) const noexcept;

    // Replaces the first occurrence of `find`, if there is one. With `ignoreCase`, ASCII letters of
    // either case match. An empty `find` replaces nothing.
    void replaceFirstOccurance(const char* find, const char* replacement, bool ignoreCase);

    unsigned int getSize() const noexcept { return m_size; }

    // Never null; valid until the buffer is next changed.
    const char* getString() const noexcept { return m_data; }
    std::string_view view() const noexcept { return {m_data, m_size}; }

protected:
    // Makes an empty text start in `room`, which a derived object has for the long texts that it
    // mostly holds. Nothing wipes or frees it.
    void useRoom(char* room, unsigned int size) noexcept {
        m_data = room;
        m_capacity = size;
        weakClear();
    }

private:
    // Makes room for `more` bytes behind the text, with some to spare for the next ones.
    void growBy(std::size_t more);
    // Replaces `removed` bytes at `position` by `text`.
    void splice(unsigned int position, unsigned int removed, std::string_view text);
    void releaseStorage() noexcept {
        if (m_isOnHeap)
            delete[] m_data;
    }

    // Holds a serial number with the CN of most issuers, so most keys need no second allocation.
    static constexpr unsigned int kInlineSize = 63;

    char* m_data;
    unsigned int m_size = 0;
    unsigned int m_capacity = kInlineSize;  // the terminator included
    bool m_isOnHeap = false;
    char m_inline[kInlineSize];
};

// Inline, as texts are put together from many short ones, most of which fit.
inline char* StringBuffer::extend(std::size_t size) {
    if (size >= m_capacity - m_size)
        growBy(size);
    char* const place = m_data + m_size;
    m_size += static_cast<unsigned int>(size);
    m_data[m_size] = '\0';
    return place;
}

// NOLINTNEXTLINE(misc-no-recursion): see splice
inline void StringBuffer::append(std::string_view text) {
    if (text.size() >= m_capacity - m_size)
        splice(m_size, 0, text);
    else
        std::copy_n(text.data(), text.size(), extend(text.size()));
}
