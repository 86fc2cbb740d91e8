#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "support/log/LogNull.h"
#include "support/pkcs12/Pkcs12Limits.h"
#include "support/x509/CertificateHolder.h"
#include "support/x509/DistinguishedName.h"

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
inline constexpr certstore::Pkcs12Limits kLimits{1 << 16, 16, 512, 1 << 16, 16, 64, 16};
inline constexpr const char* kPassword = "password";

// Asks for all entries, reads their texts to the end and counts the errors.
class Log final : public LogBase {
public:
    Log() { m_verboseLogging = true; }
    void LogError(const char* message) override { LogInfo((++errors, message)); }
    void LogInfo(const char* message) override { text += message; }
    void EnterContext(const char* name) override { text += name; }
    void LeaveContext() noexcept override {}
    void LogData(const char* tag, const char* value) override {
        text.append(tag).append(value ? value : "");
    }

    int errors = 0;
    std::string text;
};

inline std::string_view textOf(const XString& text) {
    return text.getUtf8Sb().view();
}

inline ZorvenOwner<CertificateHolder> parse(ByteView der, LogBase& log) {
    return ZorvenOwner<CertificateHolder>(CertificateHolder::createFromDer(
        der.data(), static_cast<unsigned int>(der.size()), nullptr, log));
}

// Reads what a certificate that was parsed from `der` says.
inline void examine(const X509Certificate& cert, ByteView der) {
    Log log;
    DataBuffer bytes;
    XString subject, issuer, text;
    require(cert.getDEREncodedCert(bytes) && equalBytes(bytes.view(), der), "its bytes come back");
    require(cert.getSubjectDN_noTags(subject, log) && cert.getIssuerDN_noTags(issuer, log)
                && cert.getSubjectDN(text, log) && cert.getSerialNumber(text, log)
                && cert.isIssuerSelf(log) == subject.equalsX(issuer),
            "names and serial number are there");
    for (const char* part : {"CN", "ou", "E", "DC", "1.2.3.4.5"}) {
        StringBuffer again;
        const bool found = cert.getSubjectPart(part, text, log);
        const bool inText = DistinguishedName::getDnPart(subject.getUtf8(), part, again, log);
        require(found ? inText && again.view() == textOf(text) : !inText || again.beginsWith("#"),
                "the text of a name gives its parts");
    }
    const bool hasId = cert.getAuthorityKeyIdentifier(bytes, &text, log);
    require(textOf(text).size() == (hasId ? 2 * bytes.getSize() : 0), "its text is its bytes");
    require(log.errors == 0, "what is absent is no error");
}

}  // namespace fuzz
