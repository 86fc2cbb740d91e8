#pragma once

#include <string>
#include <string_view>

#include "support/log/LogBase.h"

// A log that keeps its entries as text for a person to read. It grows until clear().
//
//     buildCertChain:
//         startCertDN: CN=leaf
//         Certificate signature verified.
//     ERROR: something went wrong
//
// A context is its name and a colon; what belongs to it stands four columns further right. Errors
// begin with "ERROR: ", tagged values with their tag, a null value is "(null)". Control characters
// come as \xHH: nothing that a certificate holds can forge a line. Writing may throw
// std::bad_alloc; an entry is then missing as a whole.
class LogText final : public LogBase {
public:
    LogText() = default;

    void LogError(const char* message) override;
    void LogInfo(const char* message) override;
    void EnterContext(const char* name) override;
    void LeaveContext() noexcept override;
    void LogData(const char* tag, const char* value) override;

    // All entries so far; valid until the next one.
    const std::string& getText() const noexcept { return m_text; }

    void clear() noexcept { m_text.clear(); }

private:
    void addLine(std::string_view prefix, const char* text, std::string_view end = "\n");
    void appendPrintable(std::string_view text);

    std::string m_text;
    std::size_t m_depth = 0;
};
