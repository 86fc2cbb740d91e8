#pragma once

#include <atomic>
#include <memory>

#include "support/buffers/DataBuffer.h"
#include "support/log/LogBase.h"
#include "support/x509/PrivateKeyCodec.h"

namespace certstore {

// A loaded private key, shared by the key objects that hold it. Its bytes never change.
class PrivateKey {
public:
    // Copies an unencrypted PKCS#8 private key into memory that is wiped, and computes its public
    // half once for all comparisons. One in the encoding is not believed but compared where the
    // secret gives it: what contradicts is a wrong key. Null, logged, then, and when the key is
    // malformed or out of range. The caller is its first user. Throws std::bad_alloc.
    static const PrivateKey* load(ByteView pkcs8, LogBase& log);

    ByteView pkcs8() const noexcept { return m_pkcs8.view(); }
    // With the public half in publicBits unless it is not known.
    const PrivateKeyInfo& info() const noexcept { return m_info; }

    bool isNotExportable() const noexcept { return m_notExportable; }
    void setNotExportable() const noexcept { m_notExportable = true; }

    void addUser() const noexcept { m_users.fetch_add(1, std::memory_order_relaxed); }
    void dropUser() const noexcept {
        if (m_users.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

private:
    explicit PrivateKey(ByteView pkcs8);
    const char* read();

    DataBuffer m_pkcs8;
    DataBuffer m_publicBits;
    PrivateKeyInfo m_info;  // slices of the two
    mutable std::atomic<bool> m_notExportable{false};
    mutable std::atomic<int> m_users{1};
};

}  // namespace certstore
