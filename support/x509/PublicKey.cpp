#include "support/x509/PublicKey.h"

#include <memory>

#include "support/x509/KeyCodec.h"

namespace certstore {

// A loaded private key, shared by the key objects that hold it. Its bytes never change.
class PrivateKey {
public:
    explicit PrivateKey(ByteView pkcs8) {
        m_pkcs8.m_secure = true;
        m_pkcs8.reserve(static_cast<unsigned int>(pkcs8.size()));
        m_pkcs8.append(pkcs8);
    }

    ByteView pkcs8() const noexcept { return m_pkcs8.view(); }

    bool isNotExportable() const noexcept { return m_notExportable; }
    void setNotExportable() const noexcept { m_notExportable = true; }

    void addUser() const noexcept { m_users.fetch_add(1, std::memory_order_relaxed); }
    void dropUser() const noexcept {
        if (m_users.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

private:
    DataBuffer m_pkcs8;
    mutable std::atomic<bool> m_notExportable{false};
    mutable std::atomic<int> m_users{1};
};

}  // namespace certstore

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

certstore::KeyMatch _zvPublicKey::matchEncoded(certstore::ByteView pkcs8) const noexcept {
    certstore::PrivateKeyInfo privateInfo;
    certstore::PublicKeyInfo publicInfo;
    if (!readPrivateKeyInfo(pkcs8, privateInfo) || !readPublicKeyInfo(m_spki, publicInfo))
        return certstore::KeyMatch::Unknown;
    return matchKeys(privateInfo, publicInfo);
}

certstore::KeyMatch _zvPublicKey::match(const _zvPublicKey& other) const noexcept {
    const PrivateKey* key = other.m_private.load(std::memory_order_acquire);
    return key ? matchEncoded(key->pkcs8()) : certstore::KeyMatch::Unknown;
}

bool _zvPublicKey::belongs(certstore::ByteView pkcs8, LogBase& log) const {
    if (matchEncoded(pkcs8) != certstore::KeyMatch::Different)
        return true;
    log.LogError("The private key does not belong to the public key.");
    return false;
}

bool _zvPublicKey::publish(const PrivateKey* key, LogBase& log) {
    const PrivateKey* none = nullptr;
    if (m_private.compare_exchange_strong(none, key, std::memory_order_acq_rel))
        return true;
    key->dropUser();
    log.LogError("A private key is held already.");
    return false;
}

bool _zvPublicKey::loadPrivateKeyDer(const DataBuffer& pkcs8, LogBase& log) {
    certstore::PrivateKeyInfo info;
    if (pkcs8.getSize() > kMaxPrivateKeySize || !readPrivateKeyInfo(pkcs8.view(), info)) {
        log.LogError("Not an unencrypted PKCS#8 private key.");
        return false;
    }
    return belongs(pkcs8.view(), log) && publish(new PrivateKey(pkcs8.view()), log);
}

bool _zvPublicKey::takePrivateKeyFrom(const _zvPublicKey& other, LogBase& log) {
    const PrivateKey* key = other.m_private.load(std::memory_order_acquire);
    if (!key) {
        log.LogError("The key object holds no private key.");
        return false;
    }
    if (!belongs(key->pkcs8(), log))
        return false;
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
