#pragma once

#include <atomic>

#include "support/base/ByteView.h"

namespace certstore {

// Remembers, for one certificate, a public key under which its signature was found good: that
// never changes, as neither do the certificate's bytes. Failures are not remembered, and of several
// keys only the first. Any number of threads may call everything here at the same time.
class SignatureMemory {
public:
    SignatureMemory() noexcept = default;
    ~SignatureMemory() { delete[] m_key.load(std::memory_order_relaxed); }
    SignatureMemory(const SignatureMemory&) = delete;
    SignatureMemory& operator=(const SignatureMemory&) = delete;

    // Whether the signature was found good under exactly this SubjectPublicKeyInfo.
    bool isGoodUnder(ByteView spki) const noexcept;

    // Keeps a copy of the key. Without memory for it nothing is remembered.
    void rememberGood(ByteView spki) noexcept;

private:
    // The size of the key, then its bytes.
    std::atomic<const unsigned char*> m_key{nullptr};
};

}  // namespace certstore
