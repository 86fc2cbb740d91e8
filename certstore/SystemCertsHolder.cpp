#include "certstore/SystemCerts.h"

SystemCertsHolder::SystemCertsHolder() {
    makeStore();
}

SystemCertsHolder::~SystemCertsHolder() {
    releaseStore();
}

void SystemCertsHolder::makeStore() noexcept {
    m_sysCerts = SystemCerts::createNewRcObject();
    if (m_sysCerts)
        m_sysCerts->incRefCount();
}

void SystemCertsHolder::releaseStore() noexcept {
    if (m_sysCerts)
        m_sysCerts->decRefCount();
    m_sysCerts = nullptr;
}

SystemCerts* SystemCertsHolder::getSystemCertsPtr() const noexcept {
    return m_sysCerts;
}

void SystemCertsHolder::setSystemCerts(SystemCerts* sysCerts) {
    if (!sysCerts || sysCerts == m_sysCerts)
        return;
    releaseStore();
    m_sysCerts = sysCerts;
    m_sysCerts->incRefCount();
}

void SystemCertsHolder::clearSysCerts() {
    releaseStore();
    makeStore();
}

bool SystemCertsHolder::mergeSysCerts(SystemCertsHolder& other, LogBase& log) {
    if (&other == this || !m_sysCerts || !other.m_sysCerts)
        return true;
    return m_sysCerts->mergeSysCerts(*other.m_sysCerts, log);
}
