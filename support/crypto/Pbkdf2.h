#pragma once

#include <cstdint>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"

namespace certstore {

// Fills `key` with what PBKDF2 (RFC 8018 section 5.2) derives, with HMAC over `algorithm` as its
// pseudorandom function. The time is `iterations` times two compressions for each digestSize()
// bytes of `key`; limiting `iterations` is up to the caller. False, with `key` untouched, when
// `iterations` is 0 or `key` longer than 2^32 - 1 digests.
bool derivePbkdf2(DigestAlgorithm algorithm, ByteView password, ByteView salt,
                  std::uint64_t iterations, std::span<unsigned char> key) noexcept;

}  // namespace certstore
