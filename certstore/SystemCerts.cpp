#include "certstore/SystemCerts.h"

#include "support/base/Wipe.h"

SystemCerts::SystemCerts() : m_magic(kMagic) {}

SystemCerts::~SystemCerts() {
    CritSecExitor lock(*this);
    // Not a plain store, which the compiler may drop: the object ends here.
    certstore::wipe(&m_magic, sizeof m_magic);
}

SystemCerts* SystemCerts::createNewRcObject() noexcept {
    try {
        return new SystemCerts;
    } catch (...) {
        return nullptr;
    }
}

bool SystemCerts::mergeSysCerts(SystemCerts& other, LogBase& log) {
    if (&other == this)
        return true;
    CritSecExitor lock(*this);
    LogContextExitor context(log, "mergeSysCerts");
    // The other store's lock is not taken: its repository's guards every read from it.
    return m_certRepository.mergeCertRepository(other.m_certRepository, log);
}

bool SystemCerts::addCertificate(X509Certificate* cert, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addCertificate_2");
    return m_certRepository.addCertificate(cert, log);
}

void SystemCerts::logInMemoryRepository(LogBase& log) {
    m_certRepository.logCertRepository(log);
}
