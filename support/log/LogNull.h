#pragma once

#include "support/log/LogBase.h"

// A log that discards everything.
class LogNull final : public LogBase {
public:
    LogNull() noexcept : LogBase(Entries::Discarded) {}

    void LogError(const char*) override {}
    void LogInfo(const char*) override {}
    void EnterContext(const char*) override {}
    void LeaveContext() noexcept override {}
    void LogData(const char*, const char*) override {}
};
