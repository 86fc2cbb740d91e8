#include "certstore/CertRepository.h"
#include "support/log/LogNull.h"

namespace {

// Lets `text` lead to the holder where the text is new. False, with the message, when the map
// refuses it.
bool insertUnlessPresent(StringHashMap& map, std::string_view text, CertificateHolder& holder,
                         const char* failure, LogBase& log) {
    if (map.insertSharedIfAbsent(text, holder))
        return true;
    log.LogError(failure);
    return false;
}

}  // namespace

bool CertRepository::addCertificate(X509Certificate* cert, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addCertificate_3");
    if (!createHashMapsIfNeeded(log))
        return false;
    if (!cert) {
        log.LogError("no pcert!");
        return false;
    }
    // Replacing an entry may let go the last other holder of this very certificate.
    const CertificateHolder keepAlive(cert);
    Entry entry{cert, {}, {}, nullptr};
    if (!describeEntry(entry, log))
        return false;
    const StringHashMap::Key key(entry.keyText());
    entry.holder = static_cast<CertificateHolder*>(m_keyToHolder->lookup(key));
    if (!entry.holder)
        return insertEntry(entry, key, log) && indexEntry(entry, key, log);

    if (X509Certificate* stored = crpFindBySerialIssuerHashKey(entry.key.getUtf8(), log)) {
        if (replaceDifferentKey(entry, *stored, log))
            return true;
        adoptPrivateKey(entry, *stored, log);
    }
    return indexEntry(entry, key, log);
}

bool CertRepository::describeEntry(Entry& entry, LogBase& log) {
    if (!entry.cert->getSubjectDN_noTags(entry.subjectDn, log)) {
        log.LogError("Failed to get subject DN");
        return false;
    }
    XString serial;
    if (!entry.cert->getSerialNumber(serial, log)) {
        log.LogError("Failed to get cert serial number");
        return false;
    }
    return constructSerialIssuerHashKey(entry.cert, entry.subjectDn, entry.key, log)
        && !entry.key.isEmpty();
}

bool CertRepository::insertEntry(Entry& entry, const StringHashMap::Key& key, LogBase& log) {
    if (log.m_verboseLogging)
        log.LogDataX("certHashEntryB", entry.key);
    entry.holder = insertHolder(key, entry.cert, "hashInsert-1 failed.", log);
    return entry.holder != nullptr;
}

// Null, with the message, when the map refuses the new holder.
CertificateHolder* CertRepository::insertHolder(const StringHashMap::Key& key,
                                                X509Certificate* cert, const char* failure,
                                                LogBase& log) {
    ZorvenOwner<CertificateHolder> holder(CertificateHolder::createFromCert(cert, log));
    if (!m_keyToHolder->insertOwned(key, holder.get())) {
        log.LogError(failure);
        return nullptr;
    }
    return holder.release();  // the map owns it now
}

// True when the keys differ: then all that is to be done for the new certificate is done.
bool CertRepository::replaceDifferentKey(Entry& entry, X509Certificate& stored, LogBase& log) {
    DataBuffer storedKey, newKey;
    stored.getPublicKeyAsDER(storedKey, log);
    entry.cert->getPublicKeyAsDER(newKey, log);
    if (storedKey.equals(newKey))
        return false;
    log.LogError(
        "Warning: Certificates found having the same issuer:serialNum but with a different public "
        "keys!");
    log.LogDataX("hashKey", entry.key);
    replaceCert(entry.key.getUtf8(), entry.cert, log);
    return true;
}

void CertRepository::adoptPrivateKey(Entry& entry, X509Certificate& stored, LogBase& log) {
    const auto holdsPrivate = [](const _zvPublicKey& key) {
        return !key.isEmpty() && key.isPrivateKey();
    };
    if (holdsPrivate(stored.m_certKey) || !holdsPrivate(entry.cert->m_certKey))
        return;
    log.LogInfo("Adding the private key to the cached cert.");
    stored.setPrivateKeyFromObj(entry.cert->m_certKey, log);
}

bool CertRepository::indexEntry(Entry& entry, const StringHashMap::Key& key, LogBase& log) {
    LogNull quiet;  // optional fields may be absent without a trace
    return indexSubjectKeyId(entry, quiet, log) && indexSubjectDn(entry, log)
        && indexKeyTypeAndDn(entry, quiet, log) && appendToEnumeration(entry)
        && indexIssuerDn(entry, key, log) && indexEmail(entry, quiet, log);
}

bool CertRepository::indexSubjectKeyId(Entry& entry, LogBase& quiet, LogBase& log) {
    StringBuffer text;
    text.append("SubjectKeyId:");
    if (!entry.cert->getSubjectKeyIdentifier(text, quiet))
        return true;
    text.trim2();
    if (log.m_verboseLogging)
        log.LogDataSb("skiHashKey", text);
    const StringHashMap::Key key(text.view());
    if (m_keyToHolder->contains(key)) {
        if (log.m_verboseLogging)
            log.LogInfo("The cert hash map already contains this skiHashKey...");
        // The later certificate wins here, unlike in every other index.
        m_keyToHolder->remove(key);
    }
    return insertHolder(key, entry.cert, "hashInsert-2 failed.", log) != nullptr;
}

bool CertRepository::indexSubjectDn(Entry& entry, LogBase& log) {
    return insertUnlessPresent(*m_subjectDnToKey, entry.subjectDnText(), *entry.holder,
                               "hashInsert-3 failed.", log);
}

bool CertRepository::indexKeyTypeAndDn(Entry& entry, LogBase& quiet, LogBase& log) {
    StringBuffer typeAndDn;
    entry.cert->appendCertKeyType(typeAndDn, quiet);
    typeAndDn.appendChar(',');
    typeAndDn.append(entry.subjectDnText());
    return insertUnlessPresent(*m_subjectDnToKey, typeAndDn.view(), *entry.holder,
                               "hashInsert-3a failed.", log);
}

// Runs also for a certificate that was stored before: the count is that of accepted additions.
bool CertRepository::appendToEnumeration(Entry& entry) {
    StringBuffer* copy = StringBuffer::createNewSB(entry.key.getUtf8());
    return copy && m_certKeys.appendSb(copy);
}

bool CertRepository::indexIssuerDn(Entry& entry, const StringHashMap::Key& key, LogBase& log) {
    if (entry.cert->isIssuerSelf(log) || m_keyToIssuerDn->contains(key))
        return true;
    XString issuerDn;
    if (!entry.cert->getIssuerDN_noTags(issuerDn, log)) {
        log.LogError("getIssuerName failed.");
        return false;
    }
    if (!m_keyToIssuerDn->insertText(key, issuerDn.getUtf8Sb().view())) {
        log.LogError("hashInsert-4 failed.");
        return false;
    }
    return true;
}

bool CertRepository::indexEmail(Entry& entry, LogBase& quiet, LogBase& log) {
    XString email;
    entry.cert->getEmailAddress(email, quiet);
    if (email.isEmpty())
        return true;
    if (!insertUnlessPresent(*m_emailToKey, email.getUtf8Sb().view(), *entry.holder,
                             "hashInsert-5 failed.", log))
        return false;
    XString lowered;
    lowered.copyFromX(email);
    lowered.toLowerCase();
    return lowered.equalsX(email)
        || insertUnlessPresent(*m_emailToKey, lowered.getUtf8Sb().view(), *entry.holder,
                               "hashInsert-5a failed.", log);
}

// Borrowed certificates are sure to live only under the lock of the repository they come from.
X509Certificate* CertRepository::holdNthCert(unsigned int index, CertificateHolder& holder,
                                             LogBase& log) {
    CritSecExitor lock(*this);
    holder.setCert(getNthRepositoryCert(index, log));
    return holder.getCertPtr(log);
}

bool CertRepository::mergeCertRepository(CertRepository& other, LogBase& log) {
    CritSecExitor lock(*this);
    if (!createHashMapsIfNeeded(log))
        return false;
    const int count = other.m_certKeys.getSize();
    for (int i = 0; i < count; ++i) {
        CertificateHolder keepAlive(nullptr);
        X509Certificate* found = other.holdNthCert(static_cast<unsigned int>(i), keepAlive, log);
        if (found && !addCertificate(found, log))
            return false;
    }
    return true;
}
