#pragma once

#include "support/buffers/StringBuffer.h"

// The general text object, read and written as UTF-8. Appends throw std::bad_alloc as
// StringBuffer's do.
class XString {
public:
    XString() noexcept = default;

    XString(const XString&) = delete;
    XString& operator=(const XString&) = delete;

    void clear() noexcept { m_utf8.clear(); }
    // Empties the text and keeps its storage, for one that is refilled in a loop.
    void weakClear() noexcept { m_utf8.weakClear(); }

    bool isEmpty() const noexcept { return m_utf8.getSize() == 0; }

    // Never null; valid until the text is next changed.
    const char* getUtf8() const noexcept { return m_utf8.getString(); }
    const StringBuffer& getUtf8Sb() const noexcept { return m_utf8; }
    // Changes made through it change this text.
    StringBuffer& getUtf8Sb_rw() noexcept { return m_utf8; }

    void appendUtf8(const char* text) { m_utf8.append(text); }
    void appendX(const XString& other) { m_utf8.append(other.m_utf8); }
    void copyFromX(const XString& other);

    // ASCII letters only: e-mail addresses and hexadecimal are what it is used on.
    void toLowerCase() noexcept { m_utf8.toLowerCase(); }

    // Exact and case-sensitive.
    bool equalsX(const XString& other) const noexcept {
        return m_utf8.view() == other.m_utf8.view();
    }

private:
    class RoomyText : public StringBuffer {
    public:
        RoomyText() noexcept { useRoom(m_room, sizeof m_room); }

    private:
        // These texts live on the stack and are mostly DNs, of 50 to 150 bytes.
        char m_room[256];
    };

    RoomyText m_utf8;
};
