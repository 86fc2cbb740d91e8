#pragma once

#include <cstdint>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"

namespace certstore {

// Fills `key` with what PBKDF1 (RFC 8018 section 5.1) derives; only old files use it. The time is
// `iterations` digests; limiting them is up to the caller. False, with `key` untouched, when
// `algorithm` is neither Md5 nor Sha1, `iterations` is 0 or `key` longer than a digest.
bool derivePbkdf1(DigestAlgorithm algorithm, ByteView password, ByteView salt,
                  std::uint64_t iterations, std::span<unsigned char> key) noexcept;

}  // namespace certstore
