#include "support/log/LogText.h"

#include <new>

#include "support/encoding/Hex.h"

namespace {

constexpr std::size_t kIndent = 4;

}  // namespace

void LogText::LogError(const char* message) {
    addLine("ERROR: ", message);
}

void LogText::LogInfo(const char* message) {
    addLine("", message);
}

void LogText::EnterContext(const char* name) {
    addLine("", name, ":\n");
    ++m_depth;
}

void LogText::LeaveContext() noexcept {
    --m_depth;
}

void LogText::LogData(const char* tag, const char* value) {
    addLine(std::string(tag).append(": "), value);
}

// Part of a line would come to stand in front of the next one.
void LogText::addLine(std::string_view prefix, const char* text, std::string_view end) {
    const std::size_t before = m_text.size();
    try {
        m_text.append(m_depth * kIndent, ' ');
        m_text.append(prefix);
        appendPrintable(text ? text : "(null)");
        m_text.append(end);
    } catch (const std::bad_alloc&) {
        m_text.resize(before);
        throw;
    }
}

void LogText::appendPrintable(std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7f) {
            m_text.push_back(c);
            continue;
        }
        const auto digits = certstore::hexDigits(byte);
        m_text.append("\\x").append(digits.data(), digits.size());
    }
}
