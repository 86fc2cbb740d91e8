#include "certstore/SystemCerts.h"

X509Certificate* SystemCerts::findBySubjectDN2(XString& subjectDN, XString&, bool, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findBySubjectDN");
    if (subjectDN.isEmpty())
        return nullptr;
    if (X509Certificate* found = m_certRepository.crpFindBySubjectDN(subjectDN.getUtf8(), log))
        return found;
    if (!addFromTrustedRootsBySubjectDN_noTags(nullptr, subjectDN.getUtf8(), log))
        return nullptr;
    return m_certRepository.crpFindBySubjectDN(subjectDN.getUtf8(), log);
}

const certstore::X509* SystemCerts::findBySubjectDN_x509(XString& subjectDN, XString& unused, bool,
                                                         LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findBySubjectDN_x509");
    const X509Certificate* found = findBySubjectDN2(subjectDN, unused, false, log);
    return found ? found->getX509Ptr() : nullptr;
}

X509Certificate* SystemCerts::findBySubjectOid(XString&, XString&, bool, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findBySubjectOid");
    return nullptr;
}

X509Certificate* SystemCerts::findBySubjectPart(const char* partName, XString&, bool,
                                                LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findBySubjectPart");
    XString unused;
    unused.appendUtf8(partName);
    return nullptr;
}

X509Certificate* SystemCerts::findByEmailAddr(const char* emailAddr, bool, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findByEmailAddr");
    XString email;
    email.appendUtf8(emailAddr);
    email.toLowerCase();
    return m_certRepository.crpFindByEmailAddr(email, log);
}

X509Certificate* SystemCerts::findBySubjectKeyId(const char* subjectKeyId, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findBySubjectKeyId");
    return m_certRepository.crpFindBySubjectKeyId(subjectKeyId, log);
}

X509Certificate* SystemCerts::findCertificate(const char* serialNum, const char* issuerCN,
                                              const char* issuerDN, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findCertificate");
    log.LogBracketed("serialNum", serialNum);
    log.LogBracketed("issuerCN", issuerCN);
    return m_certRepository.crpFindCert(serialNum, issuerCN, issuerDN, log);
}

const certstore::X509* SystemCerts::findX509(const char* serialNum, const char* issuerCN,
                                             const char* issuerDN, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findX509");
    const X509Certificate* found = findCertificate(serialNum, issuerCN, issuerDN, log);
    return found ? found->getX509Ptr() : nullptr;
}
