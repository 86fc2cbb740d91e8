#include "certstore/CertRepository.h"

#include "support/base/Wipe.h"

namespace {

// Room for the certificates of most programs; the maps grow beyond it.
constexpr int kFirstCapacity = 400;

}  // namespace

CertRepository::CertRepository()
    : m_magic(kMagic),
      m_constructedFlag(true),
      m_subjectDnToKey(nullptr),
      m_keyToIssuerDn(nullptr),
      m_emailToKey(nullptr),
      m_keyToHolder(nullptr) {}

CertRepository::~CertRepository() {
    for (StringHashMap** map :
         {&m_subjectDnToKey, &m_keyToIssuerDn, &m_emailToKey, &m_keyToHolder}) {
        ZorvenObject::deleteObject(*map);
        *map = nullptr;
    }
    // Not a plain store, which the compiler may drop: the object ends here.
    certstore::wipe(&m_magic, sizeof m_magic);
}

bool CertRepository::createHashMapsIfNeeded(LogBase& log) {
    assertHeld();
    // Made last, so all are there.
    if (m_keyToHolder)
        return true;
    for (StringHashMap** map :
         {&m_subjectDnToKey, &m_keyToIssuerDn, &m_emailToKey, &m_keyToHolder}) {
        if (*map)
            continue;
        *map = StringHashMap::createNewObject(kFirstCapacity);
        if (!*map) {
            log.LogError("Failed to create cert repository hash map.");
            return false;
        }
    }
    return true;
}

int CertRepository::getNumCerts() const {
    return m_certKeys.getSize();
}

X509Certificate* CertRepository::getNthRepositoryCert(unsigned int index, LogBase& log) {
    CritSecExitor lock(*this);
    if (!createHashMapsIfNeeded(log))
        return nullptr;
    const StringBuffer* key = m_certKeys.sbAt(static_cast<int>(index));
    return key ? crpFindBySerialIssuerHashKey(key->getString(), log) : nullptr;
}

void CertRepository::logCertRepository(LogBase& log) {
    LogContextExitor context(log, "certRepository");
    const int count = m_certKeys.getSize();
    if (count == 0)
        log.LogInfo("empty");
    for (int i = 0; i < count; ++i)
        if (const StringBuffer* key = m_certKeys.sbAt(i))
            log.LogDataSb("cert", *key);
}

CertificateHolder* CertRepository::findHolder(const char* key) const {
    std::string_view wanted(key ? key : "");
    NonRefCountedObj* found = m_keyToHolder->lookup(wanted);
    if (!found && wanted.starts_with("00")) {
        // One side wrote the zero byte that keeps the number positive, the other left it out.
        wanted.remove_prefix(2);
        found = m_keyToHolder->lookup(wanted);
    }
    return static_cast<CertificateHolder*>(found);
}

X509Certificate* CertRepository::crpFindBySerialIssuerHashKey(const char* key, LogBase& log) {
    assertHeld();
    const CertificateHolder* holder = findHolder(key);
    return holder ? holder->getCertPtr(log) : nullptr;
}

bool CertRepository::replaceCert(const char* key, X509Certificate* cert, LogBase&) {
    assertHeld();
    if (!cert)
        return false;
    CertificateHolder* holder = findHolder(key);
    if (!holder)
        return false;
    holder->setCert(cert);
    return true;
}
