#include "certstore/CertRepository.h"

X509Certificate* CertRepository::findIn(const StringHashMap& map, std::string_view text,
                                        LogBase& log) {
    const auto* holder = static_cast<const CertificateHolder*>(map.lookup(text));
    return holder ? holder->getCertPtr(log) : nullptr;
}

X509Certificate* CertRepository::crpFindBySubjectDN(const char* subjectDN, LogBase& log) {
    CritSecExitor lock(*this);
    if (!createHashMapsIfNeeded(log))
        return nullptr;
    return findIn(*m_subjectDnToKey, subjectDN ? subjectDN : "", log);
}

X509Certificate* CertRepository::crpFindByEmailAddr(XString& email, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "crpFindByEmailAddr");
    if (!createHashMapsIfNeeded(log) || email.isEmpty())
        return nullptr;
    email.toLowerCase();
    return findIn(*m_emailToKey, email.getUtf8Sb().view(), log);
}

X509Certificate* CertRepository::crpFindBySubjectKeyId(const char* subjectKeyId, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "crpFindBySubjectKeyId");
    if (!createHashMapsIfNeeded(log)) {
        log.LogError("Failed to create hash maps.");
        return nullptr;
    }
    // Not trimmed, unlike at insertion: the identifier comes as getSubjectKeyIdentifier wrote it,
    // and a query with blanks around it finds nothing.
    StringBuffer key;
    key.append("SubjectKeyId:");
    key.append(subjectKeyId);
    if (log.m_verboseLogging)
        log.LogDataSb("keyId", key);
    return findIn(*m_keyToHolder, key.view(), log);
}

X509Certificate* CertRepository::crpFindFirstHavingPrivateKey(LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "crpFindFirstHavingPrivateKey");
    const int count = m_certKeys.getSize();
    for (int i = 0; i < count; ++i) {
        X509Certificate* cert = getNthRepositoryCert(static_cast<unsigned int>(i), log);
        if (cert && cert->hasPrivateKey(false, log))
            return cert;
    }
    return nullptr;
}
