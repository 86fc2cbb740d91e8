#include "support/roots/RootIndex.h"

#include <algorithm>
#include <mutex>

#include "support/log/LogNull.h"

namespace certstore {

RootIndex::Root::Root(X509Certificate& cert) : holder(&cert), x509(cert.getX509Ptr()) {
    LogNull quiet;
    cert.appendCertKeyType(keyType, quiet);
    cert.getSubjectKeyIdentifier(subjectKeyId, quiet);
}

bool RootIndex::add(X509Certificate& root) {
    const std::unique_lock lock(m_mutex);
    return addLocked(root);
}

bool RootIndex::addLocked(X509Certificate& cert) {
    auto root = std::make_unique<const Root>(cert);
    Roots& sameName = m_bySubject[std::string(root->x509->subjectText())];
    for (const Root* other : sameName)
        if (equalBytes(other->x509->der(), root->x509->der()))
            return false;
    Roots nobody;
    Roots& sameKey = root->subjectKeyId.getSize() == 0
        ? nobody
        : m_bySubjectKeyId[std::string(root->subjectKeyId.view())];
    // Room first: once the root is in one list it must get into all.
    sameName.reserve(sameName.size() + 1);
    sameKey.reserve(sameKey.size() + 1);
    m_roots.push_back(std::move(root));
    sameName.push_back(m_roots.back().get());
    sameKey.push_back(m_roots.back().get());
    m_size.store(m_roots.size(), std::memory_order_release);
    return true;
}

void RootIndex::addAll(const RootIndex& other) {
    // Copied first, so that no two sets are ever locked at once.
    std::vector<X509Certificate*> certs;
    std::vector<std::unique_ptr<CertificateHolder>> alive;
    {
        LogNull quiet;
        const std::shared_lock lock(other.m_mutex);
        for (const auto& root : other.m_roots) {
            certs.push_back(root->holder.getCertPtr(quiet));
            alive.push_back(std::make_unique<CertificateHolder>(certs.back()));
        }
    }
    const std::unique_lock lock(m_mutex);
    for (X509Certificate* cert : certs)
        addLocked(*cert);
}

bool RootIndex::findBySubject(std::string_view subjectDn, const Wish& wish, DataBuffer& der) const {
    if (size() == 0)
        return false;
    const std::shared_lock lock(m_mutex);
    const auto found = m_bySubject.find(subjectDn);
    if (found == m_bySubject.end())
        return false;
    const Root* best = nullptr;
    for (const Root* root : found->second) {
        if (!wish.subjectKeyId.empty() && root->subjectKeyId.view() != wish.subjectKeyId)
            continue;
        const bool preferred = wish.keyType.empty() || root->keyType.view() == wish.keyType;
        if (!best || preferred)
            best = root;
        if (preferred)
            break;
    }
    if (!best)
        return false;
    der.clear();
    der.append(best->x509->der());
    return true;
}

bool RootIndex::findBySubjectKeyId(std::string_view subjectKeyId, DataBuffer& der) const {
    if (size() == 0)
        return false;
    const std::shared_lock lock(m_mutex);
    const auto found = m_bySubjectKeyId.find(subjectKeyId);
    if (found == m_bySubjectKeyId.end() || found->second.empty())
        return false;
    der.clear();
    der.append(found->second.front()->x509->der());
    return true;
}

void RootIndex::removeAll() {
    const std::unique_lock lock(m_mutex);
    m_bySubject.clear();
    m_bySubjectKeyId.clear();
    m_roots.clear();
    m_size.store(0, std::memory_order_release);
}

}  // namespace certstore
