#include "certstore/SystemCerts.h"
#include "fuzz/Fuzz.h"
#include "support/settings/Settings.h"

// One certificate: parsed, read, verified against itself, and found again by what it says.

using fuzz::require;

namespace {

void findAgain(const X509Certificate& cert, DataBuffer& der) {
    LogNull log;
    SystemCerts store;
    require(store.addCertDer(der, log), "a certificate can be added");
    const auto check = [&](const X509Certificate* found, const char* promise) {
        require(found && fuzz::equalBytes(found->getX509Ptr()->der(), der.view()), promise);
    };
    XString subject, serial, issuer, email, unused;
    StringBuffer ski;
    cert.getSubjectDN_noTags(subject, log);
    cert.getSerialNumber(serial, log);
    if (!cert.getIssuerPart("CN", issuer, log))
        cert.getIssuerDN_noTags(issuer, log);
    check(store.findCertificate(serial.getUtf8(), issuer.getUtf8(), nullptr, log), "by serial");
    if (!subject.isEmpty())
        check(store.findBySubjectDN2(subject, unused, false, log), "by subject");
    if (cert.getSubjectKeyIdentifier(ski, log))
        check(store.findBySubjectKeyId(ski.getString(), log), "by key identifier");
    if (cert.getEmailAddress(email, log) && !email.isEmpty())
        check(store.findByEmailAddr(email.getUtf8(), false, log), "by e-mail address");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    _zvSettings::m_trustSystemCaRoots = false;
    fuzz::Log log;
    DataBuffer der;
    der.append(data, static_cast<unsigned int>(size));
    const auto holder = fuzz::parse(der.view(), log);
    require(log.errors == (holder ? 0 : 1), "one error says why bytes are no certificate");
    if (!holder)
        return 0;
    X509Certificate& cert = *holder->getCertPtr(log);
    fuzz::examine(cert, der.view());
    const bool good = cert.verifyCertSignature(&cert, log);
    require(log.errors == (good ? 0 : 1), "one error says why a signature does not verify");
    require(cert.verifyCertSignature(&cert, log) == good, "a signature keeps its verdict");
    findAgain(cert, der);
    return 0;
}
