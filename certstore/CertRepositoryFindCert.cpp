#include "certstore/CertRepository.h"
#include "support/x509/DistinguishedName.h"

// Looks for one candidate, and then with "00" in front of its serial number.
X509Certificate* CertRepository::findCandidate(const char* serial, std::string_view name,
                                               LogBase& log) {
    StringBuffer key;
    key.append("00");
    key.append(serial);
    key.toUpperCase();
    key.appendChar(':');
    key.append(name);
    if (X509Certificate* found = crpFindBySerialIssuerHashKey(key.getString() + 2, log))
        return found;
    return crpFindBySerialIssuerHashKey(key.getString(), log);
}

X509Certificate* CertRepository::crpFindCert(const char* serial, const char* issuerCN,
                                             const char* issuerDN, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "findCertB");
    if (!createHashMapsIfNeeded(log)) {
        log.LogError("Failed to create hash maps.");
        return nullptr;
    }
    if (issuerCN)
        if (X509Certificate* found = findCandidate(serial, issuerCN, log))
            return found;
    if (!issuerDN)
        return nullptr;
    StringBuffer trimmedDn;
    trimmedDn.append(issuerDN);
    trimmedDn.trim2();
    if (trimmedDn.getSize() == 0)
        return nullptr;
    // The DN as given: trimming only told whether there is one.
    if (X509Certificate* found = findCandidate(serial, issuerDN, log))
        return found;
    StringBuffer cn;
    if (!DistinguishedName::getDnPart(issuerDN, "CN", cn, log))
        return nullptr;
    cn.trim2();
    // Written always, not only for a verbose log.
    log.LogDataSb("sbCN", cn);
    return findCandidate(serial, cn.view(), log);
}
