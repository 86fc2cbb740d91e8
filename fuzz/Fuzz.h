#pragma once

#include <iostream>

#include "support/pkcs12/Pkcs12Limits.h"
#include "support/x509/DistinguishedName.h"
#include "tests/common/DerText.h"
#include "tests/common/TestFiles.h"

// What the fuzz targets share. Each target feeds one reader of foreign bytes and aborts when what
// the reader's header promises does not hold; the sanitizers see the rest.
namespace fuzz {

using certstore::ByteView, certstore::bytesOf, certstore::equalBytes, certstore::textOf;

inline void require(bool holds, const char* promise) {
    if (holds)
        return;
    std::cerr << "Broken promise: " << promise << ".\n";
    std::abort();
}

// Small, so that the fuzzer is fast: what needs more must be refused before work begins.
inline certstore::Pkcs12Limits g_limits{1 << 16, 16, 512, 1 << 16, 16, 64, 16};
inline constexpr const char* kPassword = "password";

// Asks for all entries, reads their texts to the end and counts the errors.
class Log final : public LogBase {
public:
    Log() { m_verboseLogging = true; }
    void LogError(const char* message) override { LogData(message, (++errors, nullptr)); }
    void LogInfo(const char* message) override { LogData(message, nullptr); }
    void EnterContext(const char* name) override { LogData(name, nullptr); }
    void LeaveContext() noexcept override {}
    void LogData(const char* tag, const char* value) override {
        (text += tag) += value ? value : "";
    }

    int errors = 0;
    std::string text;
};

// Reads what a certificate says.
inline void examine(const X509Certificate& cert) {
    Log log;
    DataBuffer keyId;
    XString subject, text;
    require(cert.getSubjectDN_noTags(subject, log) && cert.getSubjectDN(text, log),
            "it has a name");
    for (const char* part : {"CN", "ou", "E", "DC", "1.2.3.4.5"}) {
        StringBuffer again;
        const bool found = cert.getSubjectPart(part, text, log);
        const bool inText = DistinguishedName::getDnPart(subject.getUtf8(), part, again, log);
        require(found ? inText && again.view() == text.getUtf8Sb().view()
                      : !inText || again.beginsWith("#"),
                "the text of a name gives its parts");
    }
    const bool hasId = cert.getAuthorityKeyIdentifier(keyId, &text, log);
    require(hasId != text.isEmpty() && log.errors == 0, "what is absent is no error");
}

}  // namespace fuzz
