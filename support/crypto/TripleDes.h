#pragma once

#include <cstddef>

#include "support/base/ByteView.h"
#include "support/crypto/Des.h"

namespace certstore {

// Decryption with Triple DES (NIST SP 800-67) under two or three keys. What Des.h says of time and
// wiping holds here.
class TripleDesDecryptor {
public:
    static constexpr std::size_t kBlockSize = DesKey::kBlockSize;

    // `key`: 24 bytes for three keys, or 16 for two, the first of which is the third as well;
    // otherwise false. To be called before anything is decrypted.
    bool setKey(ByteView key) noexcept;

    // Decrypts one block of kBlockSize bytes. `input` and `output` may be the same place.
    void decryptBlock(const unsigned char* input, unsigned char* output) const noexcept;

private:
    DesKey m_first, m_second, m_third;
};

}  // namespace certstore
