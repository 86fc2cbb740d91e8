#include "certstore/CertRepository.h"

bool CertRepository::constructSerialIssuerHashKey(X509Certificate* cert, XString& subjectDn,
                                                  XString& key, LogBase& log) {
    key.clear();
    LogContextExitor context(log, "constructSerialIssuerHashKey");
    if (!cert)
        return false;
    if (!cert->getSerialNumber(key, log)) {
        log.LogError("Certificate has no serial number.");
        return false;
    }
    // Before the name goes in: names keep their case.
    key.getUtf8Sb_rw().toUpperCase();
    key.appendUtf8(":");

    XString name;
    if (cert->isIssuerSelf(log)) {
        const bool hasCN = cert->getSubjectPart("CN", name, log);
        if (log.m_verboseLogging)
            log.LogInfo(hasCN ? "using subjectCN for self-issued certificate."
                              : "using issuerDN for self-issued certificate.");
        key.appendX(hasCN ? name : subjectDn);
        return true;
    }
    if (cert->getIssuerPart("CN", name, log)) {
        key.appendX(name);
        return true;
    }
    if (cert->getIssuerDN_noTags(name, log)) {
        if (log.m_verboseLogging)
            log.LogInfo("using issuerDN because no issuerCN exists. (this is not an error)");
        key.appendX(name);
        return true;
    }
    log.LogError("No Issuer DN.");
    return false;
}
