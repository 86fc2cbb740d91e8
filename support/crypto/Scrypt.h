#pragma once

#include <cstdint>
#include <span>

#include "support/base/ByteView.h"

namespace certstore {

// The parameters of scrypt (RFC 7914 section 2) under their names there. It takes 128 * blockSize *
// (cost + parallelization) bytes of memory and a time that grows with the product of all three.
struct ScryptParameters {
    std::uint64_t cost;             // N, a power of two above 1 and below 2^(16 * blockSize)
    std::uint64_t blockSize;        // r, in units of 128 bytes
    std::uint64_t parallelization;  // p
};

// The most memory, in bytes, that scrypt is given. Careful settings for files take 128 to 256 MiB;
// callers that read files of strangers will set themselves a tighter limit.
constexpr std::uint64_t kMaxScryptMemory = std::uint64_t{512} << 20;

// The most that cost * blockSize * parallelization may be. A step of one takes about a third of a
// microsecond, so the bound is some seconds, where the parameters could name centuries.
constexpr std::uint64_t kMaxScryptWork = std::uint64_t{1} << 24;

// Fills `key` with what scrypt (RFC 7914 section 6) derives. False, with `key` untouched, when the
// parameters break the rules above or go beyond the two bounds. Throws std::bad_alloc.
bool deriveScrypt(ByteView password, ByteView salt, const ScryptParameters& parameters,
                  std::span<unsigned char> key);

}  // namespace certstore
