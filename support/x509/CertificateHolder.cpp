#include "support/x509/CertificateHolder.h"

#include <string>

#include "support/x509/NameText.h"
#include "support/x509/X509Parser.h"

namespace {

void appendName(XString& out, certstore::ByteView name) {
    certstore::appendNameText(out.getUtf8Sb_rw(), name, certstore::NameForm::NoTags);
}

std::string_view textOf(const XString& name) noexcept {
    return name.getUtf8Sb().view();
}

}  // namespace

CertificateHolder::CertificateHolder(X509Certificate* cert) noexcept : m_cert(cert) {
    if (m_cert)
        m_cert->addHolder();
}

CertificateHolder::~CertificateHolder() {
    setCert(nullptr);
}

CertificateHolder* CertificateHolder::createFromCert(X509Certificate* cert, LogBase&) {
    return cert ? new CertificateHolder(cert) : nullptr;
}

CertificateHolder* CertificateHolder::createFromDer(const unsigned char* der, unsigned int size,
                                                    void*, LogBase& log) {
    const certstore::ByteView bytes(der, der ? size : 0);
    certstore::X509Fields fields;
    certstore::X509ParseError error;
    if (!certstore::parseX509(bytes, fields, error)) {
        const std::string message = std::string("Not a certificate: cannot read ") + error.field
            + " at byte " + std::to_string(error.offset) + ".";
        log.LogError(message.c_str());
        return nullptr;
    }
    XString subject, issuer;
    appendName(subject, fields.subject);
    // Roots mostly repeat the name as it is.
    const bool repeated = certstore::equalBytes(fields.subject, fields.issuer);
    if (!repeated)
        appendName(issuer, fields.issuer);
    ZorvenOwner<CertificateHolder> holder(new CertificateHolder(nullptr));
    holder->setCert(X509Certificate::create({.der = bytes,
                                             .fields = fields,
                                             .subjectText = textOf(subject),
                                             .issuerText = textOf(repeated ? subject : issuer),
                                             .selfIssued = repeated || subject.equalsX(issuer)}));
    return holder.release();
}

X509Certificate* CertificateHolder::getCertPtr(LogBase&) const noexcept {
    return m_cert;
}

void CertificateHolder::setCert(X509Certificate* cert) noexcept {
    X509Certificate* const before = m_cert;
    if (cert)
        cert->addHolder();
    m_cert = cert;
    if (before)
        before->dropHolder();
}
