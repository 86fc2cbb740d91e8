#include "support/buffers/StringBuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "support/buffers/AsciiCase.h"

namespace {

constexpr std::size_t kMaxCapacity = std::numeric_limits<unsigned int>::max();

std::string_view viewOf(const char* text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}

char lowerOf(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isWhite(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

StringBuffer* StringBuffer::createNewSB(const char* text) noexcept {
    try {
        ZorvenOwner<StringBuffer> made(new StringBuffer);
        made->append(text);
        return made.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void StringBuffer::growBy(std::size_t more) {
    if (more > kMaxCapacity - 1 - m_size)
        throw std::bad_alloc();
    const std::size_t capacity =
        std::min(std::max(m_size + more + 1, std::size_t{m_capacity} * 2), kMaxCapacity);
    char* const grown = new char[capacity];
    std::copy_n(m_data, m_size + 1, grown);
    releaseStorage();
    m_data = grown;
    m_capacity = static_cast<unsigned int>(capacity);
    m_isOnHeap = true;
}

// NOLINTNEXTLINE(misc-no-recursion): once, as the copy is elsewhere
void StringBuffer::splice(unsigned int position, unsigned int removed, std::string_view text) {
    if (text.data() >= m_data && text.data() <= m_data + m_size) {
        // What moves the text would move or free the very bytes that are to go in.
        StringBuffer copy;
        copy.append(text);
        splice(position, removed, copy.view());
        return;
    }
    const std::size_t tail = m_size - position - removed;
    if (text.size() > removed)
        extend(text.size() - removed);
    char* const place = m_data + position;
    std::memmove(place + text.size(), place + removed, tail);
    std::copy_n(text.data(), text.size(), place);
    m_size = static_cast<unsigned int>(position + text.size() + tail);
    m_data[m_size] = '\0';
}

void StringBuffer::append(const char* text) {
    append(viewOf(text));
}

void StringBuffer::append(const StringBuffer& other) {
    append(other.view());
}

void StringBuffer::prepend(const char* text) {
    splice(0, 0, viewOf(text));
}

void StringBuffer::clear() noexcept {
    releaseStorage();
    m_data = m_inline;
    m_capacity = kInlineSize;
    m_isOnHeap = false;
    weakClear();
}

void StringBuffer::toUpperCase() noexcept {
    certstore::changeCase(m_data, m_size, 'a');
}

void StringBuffer::toLowerCase() noexcept {
    certstore::changeCase(m_data, m_size, 'A');
}

void StringBuffer::trim2() noexcept {
    const char* begin = m_data;
    const char* end = m_data + m_size;
    while (begin != end && isWhite(*begin))
        ++begin;
    while (begin != end && isWhite(end[-1]))
        --end;
    m_size = static_cast<unsigned int>(end - begin);
    std::memmove(m_data, begin, m_size);
    m_data[m_size] = '\0';
}

bool StringBuffer::beginsWith(const char* prefix) const noexcept {
    return view().starts_with(viewOf(prefix));
}

void StringBuffer::replaceFirstOccurance(const char* find, const char* replacement,
                                         bool ignoreCase) {
    const std::string_view wanted = viewOf(find);
    if (wanted.empty())
        return;
    const auto same = [ignoreCase](char a, char b) {
        return ignoreCase ? lowerOf(a) == lowerOf(b) : a == b;
    };
    const char* end = m_data + m_size;
    const char* found = std::search(m_data, m_data + m_size, wanted.begin(), wanted.end(), same);
    if (found != end)
        splice(static_cast<unsigned int>(found - m_data), static_cast<unsigned int>(wanted.size()),
               viewOf(replacement));
}
