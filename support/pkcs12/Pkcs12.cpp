#include "support/pkcs12/Pkcs12.h"

#include "support/log/LogPlace.h"
#include "support/pkcs12/PfxParser.h"
#include "support/x509/KeyMatch.h"

using certstore::KeyMatch;
using certstore::PfxItem;

struct Pkcs12::Cert {
    std::unique_ptr<PfxItem> item;
    ZorvenOwner<CertificateHolder> holder;
};

struct Pkcs12::Key {
    std::unique_ptr<PfxItem> item;
    _zvPublicKey key;
};

struct Pkcs12::Contents {
    std::vector<Cert> certs;
    std::vector<std::unique_ptr<Key>> keys;

    bool add(std::unique_ptr<PfxItem> item, LogBase& log);
    bool addKey(std::unique_ptr<PfxItem> item, LogBase& log);
    void attachKeys(LogBase& log);
    bool attachByPublicKey(Key& key, LogBase& log);
    void attachByLocalKeyId(Key& key, LogBase& log);
};

bool Pkcs12::Contents::add(std::unique_ptr<PfxItem> item, LogBase& log) {
    if (item->kind == PfxItem::Kind::Key)
        return addKey(std::move(item), log);
    ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(item->der.getData2(), item->der.getSize(), nullptr, log));
    if (!holder)
        return false;
    certs.push_back({std::move(item), std::move(holder)});
    return true;
}

bool Pkcs12::Contents::addKey(std::unique_ptr<PfxItem> item, LogBase& log) {
    auto key = std::make_unique<Key>();
    if (!key->key.loadPrivateKeyDer(item->der, log))
        return false;
    key->item = std::move(item);
    keys.push_back(std::move(key));
    return true;
}

// Own public keys first, for all keys: what an identifier says never overrules them.
void Pkcs12::Contents::attachKeys(LogBase& log) {
    std::vector<Key*> open;
    for (const auto& key : keys)
        if (!attachByPublicKey(*key, log))
            open.push_back(key.get());
    for (Key* key : open)
        attachByLocalKeyId(*key, log);
}

// To every certificate that has this key: there may be an old one and its renewal.
bool Pkcs12::Contents::attachByPublicKey(Key& key, LogBase& log) {
    bool attached = false;
    for (Cert& cert : certs) {
        X509Certificate& x509 = *cert.holder->getCertPtr(log);
        if (x509.m_certKey.match(key.key) != KeyMatch::Same)
            continue;
        attached = true;
        if (!x509.hasPrivateKey(false, log))
            x509.setPrivateKeyFromObj(key.key, log);
    }
    return attached;
}

void Pkcs12::Contents::attachByLocalKeyId(Key& key, LogBase& log) {
    for (Cert& cert : certs) {
        X509Certificate& x509 = *cert.holder->getCertPtr(log);
        if (key.item->localKeyId.getSize() == 0
            || !cert.item->localKeyId.equals(key.item->localKeyId) || x509.hasPrivateKey(false, log)
            || x509.m_certKey.match(key.key) != KeyMatch::Unknown)
            continue;
        x509.setPrivateKeyFromObj(key.key, log);
        return;
    }
}

Pkcs12::Pkcs12(const certstore::Pkcs12Limits& limits)
    : m_limits(limits), m_contents(std::make_unique<Contents>()) {}

Pkcs12::~Pkcs12() = default;

bool Pkcs12::pkcs12FromDb(const DataBuffer& pfx, const char* password, bool& macVerified,
                          LogBase& log) {
    LogContextExitor context(log, "pkcs12FromDb");
    macVerified = false;
    *m_contents = {};
    const certstore::PfxPassword forms(password);
    certstore::PfxItems items;
    certstore::PfxParser parser(m_limits, log);
    bool hadMac = false;
    if (!parser.parse(pfx.view(), forms, items, hadMac))
        return false;
    auto contents = std::make_unique<Contents>();
    for (auto& item : items) {
        certstore::LogPlace place(log, item->bag + ": ");
        if (!contents->add(std::move(item), place))
            return false;
    }
    contents->attachKeys(log);
    m_contents = std::move(contents);
    macVerified = hadMac;
    return true;
}

int Pkcs12::get_NumCerts() const noexcept {
    return static_cast<int>(m_contents->certs.size());
}

X509Certificate* Pkcs12::getPkcs12Cert(int index, LogBase& log) const {
    if (index < 0 || index >= get_NumCerts())
        return nullptr;
    return m_contents->certs[static_cast<std::size_t>(index)].holder->getCertPtr(log);
}

int Pkcs12::get_NumPrivateKeys() const noexcept {
    return static_cast<int>(m_contents->keys.size());
}

_zvPublicKey* Pkcs12::getPrivateKey(int index) const noexcept {
    if (index < 0 || index >= get_NumPrivateKeys())
        return nullptr;
    return &m_contents->keys[static_cast<std::size_t>(index)]->key;
}

const char* Pkcs12::getCertFriendlyName(int index) const noexcept {
    if (index < 0 || index >= get_NumCerts())
        return "";
    return m_contents->certs[static_cast<std::size_t>(index)].item->friendlyName.getString();
}

const char* Pkcs12::getKeyFriendlyName(int index) const noexcept {
    if (index < 0 || index >= get_NumPrivateKeys())
        return "";
    return m_contents->keys[static_cast<std::size_t>(index)]->item->friendlyName.getString();
}

void Pkcs12::setKeysNotExportable() noexcept {
    for (const auto& key : m_contents->keys)
        key->key.setNotExportable();
}
