#include "support/vault/CertMgr.h"

#include <string>
#include <utility>

#include "support/log/LogPlace.h"
#include "support/pkcs12/Pkcs12.h"
#include "support/vault/PemKeys.h"
#include "support/x509/KeyMatch.h"
#include "support/x509/PemCertificates.h"

using certstore::KeyMatch;
using certstore::LogPlace;
using certstore::PemBlock;
using certstore::PemKeys;

// A private key, and whether a certificate is known to have its public half.
struct CertMgr::Key {
    _zvPublicKey key;
    bool matched = false;
};

// What a block of a PEM text has become; nothing when it could not be read.
struct CertMgr::PemItem {
    X509Certificate* cert = nullptr;
    Key* key = nullptr;
};

namespace {

// Bytes of a PEM text: more than the most blocks of ordinary size take. Only bounds what a text
// without any blocks can make us search.
constexpr std::size_t kMaxPemSize = std::size_t{64} << 20;

// Blocks of a PEM text, of every label. The largest bundles in use have some thousand.
constexpr int kMaxPemBlocks = 10'000;

std::string blockName(int number, std::string_view label) {
    return "block " + std::to_string(number) + ", " + std::string(label) + ": ";
}

bool isOurLabel(std::string_view label) noexcept {
    return certstore::isCertificateLabel(label) || PemKeys::isKeyLabel(label);
}

// Whether a block of ours begins in `between`, the text before the block with this number that no
// whole block takes: it has lost its end. One error names the first.
bool reportCutBlock(std::string_view between, int number, LogBase& log) {
    constexpr std::string_view kBegin = "-----BEGIN ", kDashes = "-----";
    for (std::size_t at = between.find(kBegin); at != std::string_view::npos;
         at = between.find(kBegin, at)) {
        at += kBegin.size();
        const std::string_view label = between.substr(at, between.find(kDashes, at) - at);
        if (!isOurLabel(label))
            continue;
        LogPlace(log, "PEM before " + blockName(number, label)).LogError("its end is missing.");
        return true;
    }
    return false;
}

// Whether this certificate has the key; it is attached then, if that certificate has none.
bool attach(X509Certificate& cert, _zvPublicKey& key, KeyMatch wanted, LogBase& log) {
    if (cert.m_certKey.match(key) != wanted)
        return false;
    if (!cert.hasPrivateKey(false, log))
        cert.setPrivateKeyFromObj(key, log);
    return true;
}

bool attachNeighbour(X509Certificate* cert, _zvPublicKey& key, LogBase& log) {
    return cert && !cert->hasPrivateKey(false, log) && attach(*cert, key, KeyMatch::Unknown, log);
}

}  // namespace

CertMgr::CertMgr(const certstore::Pkcs12Limits& limits) : m_limits(limits) {}

CertMgr::~CertMgr() = default;

bool CertMgr::addCertDer(const DataBuffer& der, LogBase& log) {
    return addCert(ZorvenOwner<CertificateHolder>(CertificateHolder::createFromDer(
                       der.getData2(), der.getSize(), nullptr, log)),
                   log)
        != nullptr;
}

bool CertMgr::addPem(std::string_view pem, const char* password, LogBase& log) {
    LogContextExitor context(log, "addPem");
    if (pem.size() > kMaxPemSize) {
        log.LogError("PEM: over the limit of size.");
        return false;
    }
    std::vector<PemItem> items;
    const bool good = addPemBlocks(pem, password, items, log);
    // Public keys first, for the whole text: where a key stands never overrules them.
    for (std::size_t i = 0; i < items.size(); ++i) {
        Key* const key = items[i].key;
        if (!key || key->matched)
            continue;
        const bool attached = i != 0 && attachNeighbour(items[i - 1].cert, key->key, log);
        if (!attached && i + 1 < items.size())
            attachNeighbour(items[i + 1].cert, key->key, log);
    }
    return good;
}

bool CertMgr::addPemBlocks(std::string_view pem, const char* password, std::vector<PemItem>& items,
                           LogBase& log) {
    PemKeys keys(password, m_limits);
    certstore::PemWalker walker(pem);
    PemBlock block;
    bool good = true, more = true;
    for (int number = 1; more; ++number) {
        const std::size_t start = walker.position();
        more = walker.next(block);
        if (more && number > kMaxPemBlocks) {
            log.LogError("PEM: over the limit of blocks.");
            return false;
        }
        const std::size_t end = more ? block.offset : pem.size();
        if (reportCutBlock(pem.substr(start, end - start), number, log)) {
            items.emplace_back();
            good = false;
        }
        if (!more || !isOurLabel(block.label))
            continue;
        LogPlace place(log, "PEM " + blockName(number, block.label));
        items.push_back(addPemBlock(block, keys, place));
        good = good && (items.back().cert || items.back().key);
    }
    if (items.empty())
        log.LogError("PEM: neither a certificate nor a private key.");
    return good && !items.empty();
}

CertMgr::PemItem CertMgr::addPemBlock(const PemBlock& block, PemKeys& keys, LogBase& log) {
    PemItem item;
    if (certstore::isCertificateLabel(block.label))
        item.cert = addPemCert(block, log);
    else
        item.key = addPemKey(block, keys, log);
    return item;
}

X509Certificate* CertMgr::addPemCert(const PemBlock& block, LogBase& log) {
    DataBuffer der;
    const certstore::PemBodyResult result = certstore::decodePemCertificate(block, der);
    if (result != certstore::PemBodyResult::Good) {
        log.LogError((std::string(problemOf(result)) + ".").c_str());
        return nullptr;
    }
    return addCert(ZorvenOwner<CertificateHolder>(CertificateHolder::createFromDer(
                       der.getData2(), der.getSize(), nullptr, log)),
                   log);
}

CertMgr::Key* CertMgr::addPemKey(const PemBlock& block, PemKeys& keys, LogBase& log) {
    DataBuffer pkcs8;
    if (!keys.read(block, pkcs8)) {
        log.LogError((keys.problem() + ".").c_str());
        return nullptr;
    }
    if (m_keys.size() >= m_limits.keys) {
        log.LogError("over the limit of keys.");
        return nullptr;
    }
    auto key = std::make_unique<Key>();
    return key->key.loadPrivateKeyDer(pkcs8, log) ? addKey(std::move(key), log) : nullptr;
}

bool CertMgr::addPfx(const DataBuffer& pfx, const char* password, LogBase& log) {
    LogContextExitor context(log, "addPfx");
    Pkcs12 container(m_limits);
    bool macVerified = false;
    if (!container.pkcs12FromDb(pfx, password, macVerified, log))
        return false;
    // Keys first: whenever memory ends, none is at a certificate that setKeysNotExportable misses.
    for (int i = 0; i < container.get_NumPrivateKeys(); ++i) {
        auto key = std::make_unique<Key>();
        if (key->key.takePrivateKeyFrom(*container.getPrivateKey(i), log))
            addKey(std::move(key), log);
    }
    for (int i = 0; i < container.get_NumCerts(); ++i)
        addCert(ZorvenOwner<CertificateHolder>(
                    CertificateHolder::createFromCert(container.getPkcs12Cert(i, log), log)),
                log);
    return true;
}

X509Certificate* CertMgr::addCert(ZorvenOwner<CertificateHolder> holder, LogBase& log) {
    if (!holder)
        return nullptr;
    X509Certificate* const cert = holder->getCertPtr(log);
    m_certs.appendObject(holder.release());
    for (const auto& key : m_keys)
        key->matched = attach(*cert, key->key, KeyMatch::Same, log) || key->matched;
    return cert;
}

CertMgr::Key* CertMgr::addKey(std::unique_ptr<Key> added, LogBase& log) {
    // Before a certificate shares it, for the same reason.
    Key& key = *m_keys.emplace_back(std::move(added));
    for (int i = 0; i < getNumCerts(); ++i)
        key.matched = attach(certAt(i, log), key.key, KeyMatch::Same, log) || key.matched;
    return &key;
}

X509Certificate& CertMgr::certAt(int index, LogBase& log) const {
    return *static_cast<const CertificateHolder*>(m_certs.elementAt(index))->getCertPtr(log);
}

int CertMgr::getNumCerts() const noexcept {
    return m_certs.getSize();
}

CertificateHolder* CertMgr::getNthCert(int index, LogBase& log) const {
    if (index < 0 || index >= getNumCerts())
        return nullptr;
    return CertificateHolder::createFromCert(&certAt(index, log), log);
}

void CertMgr::setKeysNotExportable() noexcept {
    for (const auto& key : m_keys)
        key->key.setNotExportable();
}
