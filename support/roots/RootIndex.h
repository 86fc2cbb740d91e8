#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "support/buffers/DataBuffer.h"
#include "support/x509/CertificateHolder.h"

namespace certstore {

// A set of root certificates, found by subject DN or subject key identifier without a walk. Several
// may share either; they keep the order in which they were added, and the first that fits answers.
// Any number of threads may ask while one adds. What is not noexcept may throw std::bad_alloc.
class RootIndex {
public:
    RootIndex() = default;
    RootIndex(const RootIndex&) = delete;
    RootIndex& operator=(const RootIndex&) = delete;

    // What a root must be like. Empty texts ask for nothing.
    struct Wish {
        std::string_view keyType;  // preferred, as X509Certificate::appendCertKeyType writes it
        std::string_view subjectKeyId;  // required, as getSubjectKeyIdentifier writes it
    };

    // Adds a certificate, sharing it. False when one with the same bytes is there already. Throws
    // std::bad_alloc, and has then added nothing.
    bool add(X509Certificate& root);

    // Adds what `other` holds, in its order. When it throws, those before stay.
    void addAll(const RootIndex& other);

    // Puts the DER of the root with this subject DN (no-tags form) in place of what `der` held: of
    // several the first with the preferred key type, else the first. False when there is none.
    [[nodiscard]] bool findBySubject(std::string_view subjectDn, const Wish& wish,
                                     DataBuffer& der) const;

    // The same by subject key identifier.
    [[nodiscard]] bool findBySubjectKeyId(std::string_view subjectKeyId, DataBuffer& der) const;

    // Takes no lock.
    std::size_t size() const noexcept { return m_size.load(std::memory_order_acquire); }
    void removeAll();

private:
    struct Root {
        explicit Root(X509Certificate& cert);

        CertificateHolder holder;
        const X509* x509;
        StringBuffer keyType, subjectKeyId;
    };
    using Roots = std::vector<const Root*>;
    using Index = std::map<std::string, Roots, std::less<>>;

    bool addLocked(X509Certificate& cert);

    mutable std::shared_mutex m_mutex;
    std::vector<std::unique_ptr<const Root>> m_roots;
    // Tells a search that there is nothing before it locks: most processes have only one of the two
    // sets, or none.
    std::atomic<std::size_t> m_size{0};
    Index m_bySubject, m_bySubjectKeyId;
};

}  // namespace certstore
