#pragma once

#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"

namespace certstore {

constexpr std::size_t kMaxPfxBlockSize = 16;

enum class PfxCipherKind { Rc4, Rc2, Des, TripleDes, Aes };

// A cipher that files are encrypted with, all but RC4 in CBC mode with the padding of PKCS#7.
struct PfxCipherRow {
    PfxCipherKind kind;
    const char* name;
    std::size_t keySize;    // in bytes; 0 when there are several
    std::size_t blockSize;  // 0 for a stream cipher
    // Replaces `plain`, which is marked secure, by what `encrypted` decrypts to, without its
    // padding. False when there is no padding, or key or IV are of no use.
    bool (*decrypt)(ByteView key, unsigned int effectiveBits, ByteView iv, ByteView encrypted,
                    DataBuffer& plain);
};

// The cipher that a PBES2 scheme names (RFC 8018 appendix B.2); null when it is not known.
const PfxCipherRow* findPfxCipher(ByteView oid) noexcept;

// The row of a cipher, of AES the one with the shortest key.
const PfxCipherRow& pfxCipherRow(PfxCipherKind kind) noexcept;

// RC2's effective key bits for a version number of RFC 8018 appendix B.2.3; 0 counts as absent.
unsigned int rc2EffectiveBits(std::uint64_t version) noexcept;

}  // namespace certstore
