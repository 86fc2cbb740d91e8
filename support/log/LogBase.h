#pragma once

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"
#include "support/buffers/StringBuffer.h"
#include "support/buffers/XString.h"

// Where an operation writes what it does: errors, notes and tagged values, within named contexts
// that nest. A diagnostic trace for people, no control channel. Used by one thread at a time, never
// kept beyond the call it is passed to. An implementation must not call the store that it logs for.
//
// Derive from it to send the entries elsewhere; texts passed in are only valid during the call.
// Writing may throw std::bad_alloc, which ends the operation that logs; LeaveContext never does,
// and is called for every context that EnterContext has entered.
class LogBase {
public:
    virtual ~LogBase() = default;

    LogBase(const LogBase&) = delete;
    LogBase& operator=(const LogBase&) = delete;

    virtual void LogError(const char* message) = 0;
    virtual void LogInfo(const char* message) = 0;

    // Entries between the two belong to the context. Called by LogContextExitor alone.
    virtual void EnterContext(const char* name) = 0;
    virtual void LeaveContext() noexcept = 0;

    // A tagged text. `value` may be null.
    virtual void LogData(const char* tag, const char* value) = 0;

    void LogDataSb(const char* tag, const StringBuffer& value);
    void LogDataX(const char* tag, const XString& value);
    void LogDataLong(const char* tag, long value);
    // "true" or "false".
    void LogDataBool(const char* tag, bool value);
    // Upper-case hexadecimal without separators.
    void LogDataHexDb(const char* tag, const DataBuffer& value);
    void LogDataBase64(const char* tag, const unsigned char* data, unsigned int size);
    // The value between "[" and "]", which shows blanks at its ends. Null is logged as null.
    void LogBracketed(const char* tag, const char* value);

    // Whether entries that only help to trace a search are wanted. Who writes them tests it first.
    bool m_verboseLogging = false;

    // False when whatever is written is lost: then nobody need make it up.
    bool keepsEntries() const noexcept { return m_keepsEntries; }

protected:
    enum class Entries { Kept, Discarded };
    explicit LogBase(Entries entries = Entries::Kept) noexcept
        : m_keepsEntries(entries == Entries::Kept) {}

private:
    const bool m_keepsEntries;
};

// Opens a named context in a log and closes it when its scope ends.
class LogContextExitor {
public:
    LogContextExitor(LogBase& log, const char* name) : m_log(log) {
        if (m_log.keepsEntries())
            m_log.EnterContext(name);
    }
    ~LogContextExitor() {
        if (m_log.keepsEntries())
            m_log.LeaveContext();
    }

    LogContextExitor(const LogContextExitor&) = delete;
    LogContextExitor& operator=(const LogContextExitor&) = delete;

private:
    LogBase& m_log;
};
