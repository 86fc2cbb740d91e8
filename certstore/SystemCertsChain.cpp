#include "certstore/SystemCerts.h"
#include "support/log/LogNull.h"

namespace {

// Certificates examined in one chain, start included. Real chains have 2 to 5; the bound only stops
// a crafted set of certificates from keeping the store locked.
constexpr int kMaxChainLength = 32;

constexpr int kFirstDnCapacity = 64;

// The walk of one call.
class Walk {
public:
    explicit Walk(X509Certificate& start) : m_dnsMet(kFirstDnCapacity), m_current(&start) {}

    // The subject DN of the current certificate, refilled for every member.
    XString dn;

    bool wasMet() const noexcept { return m_dnsMet.hashContains(dn.getUtf8()); }
    void meet() noexcept {
        // Should memory be short, the length bound still ends a loop.
        (void)m_dnsMet.hashInsertString(dn.getUtf8(), "x");
    }

    X509Certificate& current(LogBase& log) const noexcept { return *m_current.getCertPtr(log); }
    X509Certificate* issuer(LogBase& log) const noexcept { return m_issuer.getCertPtr(log); }
    void setIssuer(X509Certificate* issuer) noexcept { m_issuer.setCert(issuer); }
    void climb(LogBase& log) noexcept { m_current.setCert(m_issuer.getCertPtr(log)); }

private:
    StringHashMap m_dnsMet;
    // Held, not borrowed: a root that is added later in the walk may displace a member.
    CertificateHolder m_current;
    CertificateHolder m_issuer{nullptr};
};

// Finds the issuer of the current certificate, which is not self-issued.
void findIssuer(SystemCerts& store, Walk& walk, LogBase& log) {
    LogNull quiet;
    LogBase& searchLog = log.m_verboseLogging ? log : static_cast<LogBase&>(quiet);
    walk.setIssuer(store.sysCertsFindIssuer(walk.current(log), false, searchLog));
    if (walk.issuer(log) || !log.m_verboseLogging)
        return;
    log.LogInfo("Did not find the issuer.");
    log.LogDataX("currentCert", walk.dn);
}

bool verifyMember(X509Certificate& cert, X509Certificate& issuer, LogBase& log) {
    bool verified = false;
    if (!log.m_verboseLogging) {
        LogNull quiet;
        verified = cert.verifyCertSignature(&issuer, quiet);
    }
    // When the quiet check has failed, once more for its details; this result decides.
    if (!verified && !cert.verifyCertSignature(&issuer, log)) {
        log.LogError("Certificate signature verification failed.");
        return false;
    }
    log.LogInfo("Certificate signature verified.");
    return true;
}

// Makes the issuer the current certificate. False when its subject DN was met before.
bool climb(Walk& walk, LogBase& log) {
    walk.dn.weakClear();
    walk.issuer(log)->getSubjectDN(walk.dn, log);
    log.LogDataX("nextCertDN", walk.dn);
    if (walk.wasMet()) {
        log.LogError("Detected an infinite certificate issuer loop.");
        return false;
    }
    walk.meet();
    walk.climb(log);
    return true;
}

}  // namespace

bool SystemCerts::buildCertChain(X509Certificate& cert, bool includeRoot, bool skipSigVerify,
                                 ExtPtrArray& certChain, bool& reachedRoot, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "buildCertChain");
    reachedRoot = false;
    Walk walk(cert);
    cert.getSubjectDN(walk.dn, log);
    log.LogDataX("startCertDN", walk.dn);
    if (log.m_verboseLogging)
        log.LogDataLong("initialCertChainSize", certChain.getSize());
    walk.meet();

    for (int pass = 0; pass < kMaxChainLength; ++pass) {
        X509Certificate& current = walk.current(log);
        const bool selfIssued = current.isIssuerSelf(log);
        if (!selfIssued)
            findIssuer(*this, walk, log);
        X509Certificate* signer = selfIssued ? &current : walk.issuer(log);
        if (signer && !skipSigVerify && !verifyMember(current, *signer, log))
            return false;
        if (!selfIssued || includeRoot)
            certChain.appendObject(CertificateHolder::createFromCert(&current, log));
        if (selfIssued || !signer) {
            if (log.m_verboseLogging)
                log.LogDataLong("finalCertChainSize", certChain.getSize());
            log.LogInfo(selfIssued ? "Certificate chain completed to root."
                                   : "Unable to build certificate chain to root.");
            reachedRoot = selfIssued;
            return true;
        }
        if (!climb(walk, log))
            return false;
    }
    log.LogError("Aborting because cert chain is too long.");
    return false;
}
