#include "certstore/SystemCerts.h"

namespace {

void prepareOutput(DataBuffer& privKeyDer, DataBuffer* certDer, bool& keyNotExportable) {
    keyNotExportable = false;
    privKeyDer.m_secure = true;  // from here on every release of its storage wipes it
    privKeyDer.secureClear();
    if (certDer)
        certDer->clear();
}

}  // namespace

bool SystemCerts::findPrivateKeyBySubjectKeyId(const char* subjectKeyId, DataBuffer& privKeyDer,
                                               DataBuffer* certDer, bool& keyNotExportable,
                                               LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findPrivateKeyBySubjectKeyId");
    prepareOutput(privKeyDer, certDer, keyNotExportable);
    X509Certificate* cert = findBySubjectKeyId(subjectKeyId, log);
    return cert
        && deliverKeyAndCert(*cert, privKeyDer, certDer, keyNotExportable,
                             "Failed to get the certificate DER.", log);
}

bool SystemCerts::findPrivateKey(const char* serialNum, const char* issuerCN, const char* issuerDN,
                                 DataBuffer& privKeyDer, DataBuffer* certDer,
                                 bool& keyNotExportable, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findPrivateKey");
    prepareOutput(privKeyDer, certDer, keyNotExportable);
    X509Certificate* cert = findCertificate(serialNum, issuerCN, issuerDN, log);
    return cert
        && deliverKeyAndCert(*cert, privKeyDer, certDer, keyNotExportable,
                             "Failed to get the DER encoded certificate.", log);
}

bool SystemCerts::deliverKeyAndCert(X509Certificate& cert, DataBuffer& privKeyDer,
                                    DataBuffer* certDer, bool& keyNotExportable,
                                    const char* certFailure, LogBase& log) {
    bool delivered = cert.getPrivateKeyAsDER(privKeyDer, keyNotExportable, log);
    if (delivered && certDer && !cert.getDEREncodedCert(*certDer)) {
        log.LogError(certFailure);
        delivered = false;
    }
    if (log.m_verboseLogging) {
        log.LogDataBool("gotPrivKeyDer", delivered);
        if (!delivered)
            log.LogDataBool("keyNotExporable", keyNotExportable);
    }
    return delivered;
}

bool SystemCerts::findFirstPrivateKeyInRepos(DataBuffer& privKeyDer, DataBuffer* certDer,
                                             bool& keyNotExportable, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findFirstPrivateKeyInRepos");
    prepareOutput(privKeyDer, certDer, keyNotExportable);
    X509Certificate* cert = m_certRepository.crpFindFirstHavingPrivateKey(log);
    if (!cert)
        return false;
    if (!cert->getPrivateKeyAsDER(privKeyDer, keyNotExportable, log)) {
        log.LogInfo("No private key available.");
        return false;
    }
    return !certDer || cert->getDEREncodedCert(*certDer);
}
