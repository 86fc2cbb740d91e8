#include "certstore/SystemCerts.h"
#include "support/log/LogNull.h"
#include "support/roots/CaBundlePath.h"
#include "support/roots/ClsTrustedRoots.h"
#include "support/roots/SysTrustedRoots.h"
#include "support/roots/TrustedRoots.h"
#include "support/settings/Settings.h"

namespace {

struct SelfDeleter {
    void operator()(ClsBase* object) const noexcept { object->deleteSelf(); }
};

}  // namespace

void SystemCerts::checkLoadSystemCaCerts(LogBase&) {
    if (SysTrustedRoots::m_alreadyLoaded)
        return;
    if (!_zvSettings::m_trustSystemCaRoots)
        return;
    if (!_zvSettings::m_autoSearchOsCertStores)
        return;
    XString path;
    path.appendUtf8(certstore::caBundlePath());
    const std::unique_ptr<ClsTrustedRoots, SelfDeleter> roots(ClsTrustedRoots::createNewCls());
    if (!roots)
        return;
    // Nothing of the load reaches the caller's log.
    LogNull quiet;
    if (roots->loadCaCertsPem(path, nullptr, quiet))
        roots->sysActivate(quiet);
}

bool SystemCerts::addRootDer(const DataBuffer& der, bool& added, LogBase& log) {
    const ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log));
    if (!holder)
        return false;
    added = addCertificate(holder->getCertPtr(log), log);
    return true;
}

bool SystemCerts::addFromTrustedRootsBySubjectDN_noTags(const char* keyType, const char* subjectDN,
                                                        LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addFromTrustedRootsBySubjectDN");
    if (log.m_verboseLogging) {
        log.LogData("keyType", keyType);
        log.LogData("subjectDN", subjectDN);
    }
    DataBuffer der;
    bool flag = true, added = false;
    if (TrustedRoots::isTrustedRoot(keyType, nullptr, subjectDN, der, flag, log)
        && der.getSize() != 0 && addRootDer(der, added, log))
        return added;
    checkLoadSystemCaCerts(log);
    der.clear();
    if (!SysTrustedRoots::getTrustedRootDer(subjectDN, der, log) || der.getSize() == 0)
        return false;
    return addRootDer(der, added, log) && added;
}

bool SystemCerts::addFromTrustedRootsBySki(const char* subjectKeyId, LogBase& log) {
    if (!subjectKeyId)
        return false;
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addFromTrustedRootsBySki");
    if (log.m_verboseLogging)
        log.LogData("subjectKeyIdentifier", subjectKeyId);
    DataBuffer der;
    bool flag = true, added = false;
    if (TrustedRoots::isTrustedRoot_ski(subjectKeyId, der, flag, log) && der.getSize() != 0
        && addRootDer(der, added, log))
        return added;
    checkLoadSystemCaCerts(log);
    der.clear();
    if (!SysTrustedRoots::getTrustedRootDer_ski(subjectKeyId, der, log) || der.getSize() == 0)
        return false;
    return addRootDer(der, added, log) && added;
}
