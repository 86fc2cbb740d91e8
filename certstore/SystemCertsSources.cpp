#include "certstore/SystemCerts.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/CertMgr.h"

bool SystemCerts::addCertDer(DataBuffer& der, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addCertDer");
    const ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log));
    return holder && m_certRepository.addCertificate(holder->getCertPtr(log), log);
}

bool SystemCerts::addPkcs12(Pkcs12& pkcs12, CertificateHolder** certOut, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addPkcs12");
    if (certOut)
        *certOut = nullptr;
    const int count = pkcs12.get_NumCerts();
    log.LogDataLong("numCerts", count);
    ZorvenOwner<CertificateHolder> chosen;
    for (int i = 0; i < count; ++i) {
        X509Certificate* cert = pkcs12.getPkcs12Cert(i, log);
        if (!cert)
            continue;
        if (!addCertificate(cert, log)) {
            log.LogError("Failed to add certificate.");
            return false;
        }
        if (certOut && !chosen && cert->hasPrivateKey(false, log))
            chosen.reset(CertificateHolder::createFromCert(cert, log));
    }
    if (!certOut)
        return true;
    if (!chosen && count != 0)
        chosen.reset(CertificateHolder::createFromCert(pkcs12.getPkcs12Cert(0, log), log));
    *certOut = chosen.release();
    return true;
}

bool SystemCerts::addPfxSource(const DataBuffer& pfx, const char* password,
                               CertificateHolder** certOut, int& numPrivateKeys, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addPfxSource");
    numPrivateKeys = 0;
    if (pfx.getSize() == 0)
        return false;
    if (certOut)
        *certOut = nullptr;
    Pkcs12 pkcs12;
    bool flag = false;
    if (!pkcs12.pkcs12FromDb(pfx, password, flag, log)) {
        log.LogError("Failed to load and parse PCKS12.");
        return false;
    }
    numPrivateKeys = pkcs12.get_NumPrivateKeys();
    return addPkcs12(pkcs12, certOut, log);
}

bool SystemCerts::addCertVault(CertMgr& vault, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addCertVault");
    const int count = vault.getNumCerts();
    for (int i = 0; i < count; ++i) {
        const ZorvenOwner<CertificateHolder> holder(vault.getNthCert(i, log));
        if (!holder)
            continue;
        if (X509Certificate* cert = holder->getCertPtr(log))
            m_certRepository.addCertificate(cert, log);
    }
    return true;
}
