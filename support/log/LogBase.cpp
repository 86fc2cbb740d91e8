#include "support/log/LogBase.h"

#include <string>

#include "support/encoding/Base64.h"
#include "support/encoding/Hex.h"

void LogBase::LogDataSb(const char* tag, const StringBuffer& value) {
    LogData(tag, value.getString());
}

void LogBase::LogDataX(const char* tag, const XString& value) {
    LogData(tag, value.getUtf8());
}

void LogBase::LogDataLong(const char* tag, long value) {
    if (!m_keepsEntries)
        return;
    LogData(tag, std::to_string(value).c_str());
}

void LogBase::LogDataBool(const char* tag, bool value) {
    LogData(tag, value ? "true" : "false");
}

void LogBase::LogDataHexDb(const char* tag, const DataBuffer& value) {
    if (!m_keepsEntries)
        return;
    StringBuffer hex;
    certstore::appendHex(hex, value.view());
    LogDataSb(tag, hex);
}

void LogBase::LogDataBase64(const char* tag, const unsigned char* data, unsigned int size) {
    if (!m_keepsEntries)
        return;
    StringBuffer base64;
    certstore::appendBase64(base64, {data, size});
    LogDataSb(tag, base64);
}

void LogBase::LogBracketed(const char* tag, const char* value) {
    if (!m_keepsEntries)
        return;
    if (!value) {
        LogData(tag, nullptr);
        return;
    }
    StringBuffer bracketed;
    bracketed.appendChar('[');
    bracketed.append(value);
    bracketed.appendChar(']');
    LogDataSb(tag, bracketed);
}
