#pragma once

#include <string>
#include <utility>

#include "support/log/LogBase.h"

namespace certstore {

// Hands entries on to another log, with the place that they are about in front of errors. Lets a
// lower layer say what is wrong and the caller where, in one entry. Throws as that log does, and
// std::bad_alloc.
class LogPlace final : public LogBase {
public:
    // `place` ends in what is to stand before the message, such as ": ".
    LogPlace(LogBase& log, std::string place) : m_log(log), m_place(std::move(place)) {
        m_verboseLogging = log.m_verboseLogging;
    }

    void LogError(const char* message) override { m_log.LogError((m_place + message).c_str()); }
    void LogInfo(const char* message) override { m_log.LogInfo(message); }
    void EnterContext(const char* name) override { m_log.EnterContext(name); }
    void LeaveContext() noexcept override { m_log.LeaveContext(); }
    void LogData(const char* tag, const char* value) override { m_log.LogData(tag, value); }

private:
    LogBase& m_log;
    const std::string m_place;
};

}  // namespace certstore
