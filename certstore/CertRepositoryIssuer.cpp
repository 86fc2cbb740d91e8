#include "certstore/CertRepository.h"

X509Certificate* CertRepository::crpFindIssuer0(X509Certificate& cert, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "certReposFindIssuer");
    if (cert.isIssuerSelf(log))
        return nullptr;
    if (!createHashMapsIfNeeded(log)) {
        log.LogError("Failed to create internal hash maps.");
        return nullptr;
    }
    XString subjectDn, key;
    if (!cert.getSubjectDN_noTags(subjectDn, log)) {
        log.LogError("Failed to get subject DN");
        return nullptr;
    }
    if (!constructSerialIssuerHashKey(&cert, subjectDn, key, log) || key.isEmpty())
        return nullptr;
    StringBuffer issuerDn;
    issuerDn.append(m_keyToIssuerDn->lookupText(key.getUtf8Sb().view()));
    if (issuerDn.getSize() == 0) {
        if (log.m_verboseLogging)
            log.LogError("Not found in the in-memory cert repository.");
        return nullptr;
    }
    if (log.m_verboseLogging)
        log.LogDataSb("issuerDN", issuerDn);

    // Composed and then not used: an issuer is found whatever its key type. What reading the key
    // type writes belongs in the caller's log all the same.
    StringBuffer typeAndDn;
    cert.appendCertKeyType(typeAndDn, log);
    typeAndDn.appendChar(',');
    typeAndDn.append(issuerDn);

    X509Certificate* issuer = crpFindBySubjectDN(issuerDn.getString(), log);
    if (!issuer && log.m_verboseLogging)
        log.LogError("Did not find issuer certificate.");
    return issuer;
}
