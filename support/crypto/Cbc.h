#pragma once

#include <array>
#include <cstddef>
#include <limits>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

namespace certstore {

// The size of the padding at the end of whole blocks, one or more: n octets of value n, 1 to
// `blockSize` of them (RFC 8018 section 6.1.1). 0 when it is not that.
inline std::size_t paddingSize(ByteView padded, std::size_t blockSize) noexcept {
    const std::size_t size = padded.back();
    if (size > blockSize)
        return 0;
    unsigned char difference = 0;
    for (const unsigned char octet : padded.last(size))
        difference |= static_cast<unsigned char>(octet ^ size);
    return difference == 0 ? size : 0;
}

// Replaces the content of `plain` by what `ciphertext` decrypts to in CBC mode (NIST SP 800-38A
// section 6.2), without its padding, and makes `plain` secure. `Cipher` has kBlockSize and
// decryptBlock(input, output), as AesDecryptor; `ciphertext` must not lie in `plain`. False, and
// `plain` wiped and empty, when `iv` is not one block, `ciphertext` not one or more of them (or 4
// GiB and above) or the padding wrong, as it is after a wrong key. Throws std::bad_alloc.
template <class Cipher>
bool decryptCbc(const Cipher& cipher, ByteView iv, ByteView ciphertext, DataBuffer& plain) {
    constexpr std::size_t kBlockSize = Cipher::kBlockSize;
    plain.m_secure = true;
    plain.secureClear();
    if (iv.size() != kBlockSize || ciphertext.empty() || ciphertext.size() % kBlockSize != 0
        || ciphertext.size() > std::numeric_limits<unsigned int>::max())
        return false;
    const auto size = static_cast<unsigned int>(ciphertext.size());
    unsigned char* output = plain.extend(size);
    const unsigned char* before = iv.data();
    for (std::size_t at = 0; at < size; at += kBlockSize) {
        cipher.decryptBlock(ciphertext.data() + at, output + at);
        for (std::size_t i = 0; i < kBlockSize; ++i)
            output[at + i] ^= before[i];
        before = ciphertext.data() + at;
    }
    const std::size_t padding = paddingSize(plain.view(), kBlockSize);
    if (padding == 0)
        plain.secureClear();
    else
        plain.shrink(size - static_cast<unsigned int>(padding));
    return padding != 0;
}

}  // namespace certstore
