#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"

namespace certstore {

// What the derived bytes are for (RFC 7292 appendix B.3): the ID of the derivation.
enum class Pkcs12Purpose : unsigned char { Key = 1, Iv = 2, MacKey = 3 };

// Bytes of password or salt that are accepted. Real ones have tens; the bound keeps sums of sizes
// far from overflowing.
constexpr std::size_t kMaxPkcs12InputSize = std::size_t{1} << 20;

// Fills `output` with what RFC 7292 appendix B.2 derives. `password`: a BMPString, two bytes for
// each character, with the two zero bytes that end it; empty for "no password at all". The time is
// `iterations` digests for each digestSize() bytes of `output`; limiting `iterations` is up to the
// caller. False, with `output` untouched, when `iterations` is 0 or an input above its limit.
// Throws std::bad_alloc.
bool derivePkcs12(DigestAlgorithm algorithm, Pkcs12Purpose purpose, ByteView password,
                  ByteView salt, std::uint64_t iterations, std::span<unsigned char> output);

}  // namespace certstore
