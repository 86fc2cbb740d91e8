#include "support/buffers/StringBuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
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

StringBuffer::StringBuffer() noexcept : m_data(m_inline) {
    m_inline[0] = '\0';
}

StringBuffer::~StringBuffer() {
    releaseStorage();
}

void StringBuffer::releaseStorage() noexcept {
    if (m_data != m_inline)
        delete[] m_data;
}

StringBuffer* StringBuffer::createNewSB(const char* text) noexcept {
    try {
        ZorvenOwner<StringBuffer> made(new StringBuffer);
        made->append(text);
        return made.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void StringBuffer::splice(unsigned int position, unsigned int removed, std::string_view text) {
    const std::size_t kept = m_size - removed;
    if (text.size() > kMaxCapacity - 1 - kept)
        throw std::bad_alloc();
    const std::size_t size = kept + text.size();
    const std::size_t tail = m_size - position - removed;
    const bool within = text.data() >= m_data && text.data() <= m_data + m_size;
    if (size + 1 > m_capacity || (within && position != m_size)) {
        const std::size_t capacity =
            std::min(std::max(size + 1, std::size_t{m_capacity} * 2), kMaxCapacity);
        std::unique_ptr<char[]> grown(new char[capacity]);
        std::copy_n(m_data, position, grown.get());
        std::copy_n(text.data(), text.size(), grown.get() + position);
        std::copy_n(m_data + position + removed, tail, grown.get() + position + text.size());
        releaseStorage();
        m_data = grown.release();
        m_capacity = static_cast<unsigned int>(capacity);
    } else {
        std::memmove(m_data + position + text.size(), m_data + position + removed, tail);
        std::copy_n(text.data(), text.size(), m_data + position);
    }
    m_size = static_cast<unsigned int>(size);
    m_data[m_size] = '\0';
}

void StringBuffer::append(std::string_view text) {
    if (text.size() >= m_capacity - m_size) {
        splice(m_size, 0, text);
        return;
    }
    std::copy_n(text.data(), text.size(), m_data + m_size);
    m_size += static_cast<unsigned int>(text.size());
    m_data[m_size] = '\0';
}

void StringBuffer::append(const char* text) {
    append(viewOf(text));
}

void StringBuffer::append(const StringBuffer& other) {
    append(other.view());
}

void StringBuffer::appendChar(char c) {
    append(std::string_view(&c, 1));
}

void StringBuffer::prepend(const char* text) {
    splice(0, 0, viewOf(text));
}

void StringBuffer::clear() noexcept {
    releaseStorage();
    m_data = m_inline;
    m_capacity = kInlineSize;
    weakClear();
}

void StringBuffer::weakClear() noexcept {
    m_size = 0;
    m_data[0] = '\0';
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
