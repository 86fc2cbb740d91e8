#include "support/x509/PublicKey.h"

#include "support/x509/KeyMatch.h"
#include "support/x509/PrivateKey.h"

using certstore::PrivateKey;

_zvPublicKey::~_zvPublicKey() {
    if (const PrivateKey* key = m_private.load(std::memory_order_acquire))
        key->dropUser();
}

bool _zvPublicKey::isEmpty() const noexcept {
    return m_spki.empty() && !isPrivateKey();
}

bool _zvPublicKey::isPrivateKey() const noexcept {
    return m_private.load(std::memory_order_acquire) != nullptr;
}

bool _zvPublicKey::isExportable() const noexcept {
    const PrivateKey* key = m_private.load(std::memory_order_acquire);
    return key && !key->isNotExportable();
}

certstore::KeyMatch _zvPublicKey::match(const PrivateKey& key) const noexcept {
    certstore::PublicKeyInfo info;
    return readPublicKeyInfo(m_spki, info) ? matchKeys(key.info(), info)
                                           : certstore::KeyMatch::Unknown;
}

certstore::KeyMatch _zvPublicKey::match(const _zvPublicKey& other) const noexcept {
    const PrivateKey* key = other.m_private.load(std::memory_order_acquire);
    return key ? match(*key) : certstore::KeyMatch::Unknown;
}

// Takes over a user's share in the key, which it drops when it fails.
bool _zvPublicKey::publish(const PrivateKey* key, LogBase& log) {
    const PrivateKey* none = nullptr;
    const bool belongs = match(*key) != certstore::KeyMatch::Different;
    if (belongs && m_private.compare_exchange_strong(none, key, std::memory_order_acq_rel))
        return true;
    key->dropUser();
    log.LogError(belongs ? "A private key is held already."
                         : "The private key does not belong to the public key.");
    return false;
}

bool _zvPublicKey::loadPrivateKeyDer(const DataBuffer& pkcs8, LogBase& log) {
    if (pkcs8.getSize() > kMaxPrivateKeySize) {
        log.LogError("The private key is over the limit of key size.");
        return false;
    }
    const PrivateKey* key = PrivateKey::load(pkcs8.view(), log);
    return key && publish(key, log);
}

bool _zvPublicKey::takePrivateKeyFrom(const _zvPublicKey& other, LogBase& log) {
    const PrivateKey* key = other.m_private.load(std::memory_order_acquire);
    if (!key) {
        log.LogError("The key object holds no private key.");
        return false;
    }
    key->addUser();
    return publish(key, log);
}

bool _zvPublicKey::getPrivateKeyDer(DataBuffer& pkcs8, bool& notExportable) const {
    pkcs8.m_secure = true;
    pkcs8.secureClear();
    notExportable = false;
    const PrivateKey* key = m_private.load(std::memory_order_acquire);
    if (!key)
        return false;
    notExportable = key->isNotExportable();
    if (notExportable)
        return false;
    pkcs8.append(key->pkcs8());
    return true;
}

void _zvPublicKey::setNotExportable() noexcept {
    if (const PrivateKey* key = m_private.load(std::memory_order_acquire))
        key->setNotExportable();
}
