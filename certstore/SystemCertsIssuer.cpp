#include "certstore/SystemCerts.h"

X509Certificate* SystemCerts::sysCertsFindIssuer(X509Certificate& cert, bool, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "sysCertsFindIssuer");
    const auto note = [&log](const char* message) {
        if (log.m_verboseLogging)
            log.LogInfo(message);
    };
    if (cert.isIssuerSelf(log)) {
        note("This is a self-signed cert.");
        return nullptr;
    }

    DataBuffer authorityKeyId;
    XString authorityKeyIdText;
    if (cert.getAuthorityKeyIdentifier(authorityKeyId, &authorityKeyIdText, log)) {
        if (log.m_verboseLogging) {
            log.LogDataHexDb("dbAuthKeyId", authorityKeyId);
            log.LogDataBase64("dbAuthKeyId_base64", authorityKeyId.getData2(),
                              authorityKeyId.getSize());
        }
        if (X509Certificate* issuer = findBySubjectKeyId(authorityKeyIdText.getUtf8(), log)) {
            note("Found issuer using the authority key identifier.");
            return issuer;
        }
    }

    if (X509Certificate* issuer = m_certRepository.crpFindIssuer0(cert, log)) {
        note("Found issuer within in-memory cert repository.");
        return issuer;
    }

    // A root that is added from here on may displace the last other holder of this certificate.
    const CertificateHolder keepAlive(&cert);
    constexpr const char* kFoundRoot =
        "Found trusted root issuer after adding root to in-memory cert repository.";
    if (!authorityKeyIdText.isEmpty()
        && addFromTrustedRootsBySki(authorityKeyIdText.getUtf8(), log)) {
        if (X509Certificate* issuer = m_certRepository.crpFindIssuer0(cert, log)) {
            note(kFoundRoot);
            return issuer;
        }
    }

    XString issuerDn;
    if (!cert.getIssuerDN_noTags(issuerDn, log))
        return nullptr;
    if (log.m_verboseLogging)
        log.LogDataX("issuerDN", issuerDn);
    // The key type of this certificate, not of any issuer: the sources take it as a wish.
    StringBuffer keyType;
    cert.appendCertKeyType(keyType, log);
    if (addFromTrustedRootsBySubjectDN_noTags(keyType.getString(), issuerDn.getUtf8(), log)) {
        if (X509Certificate* issuer = m_certRepository.crpFindIssuer0(cert, log)) {
            note(kFoundRoot);
            return issuer;
        }
    }
    return nullptr;
}
