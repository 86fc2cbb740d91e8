#pragma once

#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"

namespace certstore {

enum class SlhDsaHashFamily : unsigned char { Sha2, Shake };

// A parameter set (FIPS 205 section 11, table 2), with the letters of the standard, and the sizes
// that follow from it.
struct SlhDsaParameters {
    SlhDsaHashFamily family;
    std::size_t n;      // octets in a node of any tree
    unsigned int h, d;  // levels of the hypertree, and layers of trees that share them
    unsigned int a, k;  // levels of a FORS tree, and number of those trees

    // Levels of one tree of the hypertree: h'.
    constexpr unsigned int treeLevels() const noexcept { return h / d; }

    // Chains of a WOTS+ key: one for each four bits of a node, three for their checksum.
    constexpr std::size_t chainCount() const noexcept { return 2 * n + 3; }

    // Octets of the digest of a message that choose the secrets of FORS, the tree in the lowest
    // layer and the leaf in that tree.
    constexpr std::size_t forsDigestSize() const noexcept { return (k * a + 7) / 8; }
    constexpr std::size_t treeIndexSize() const noexcept { return (h - treeLevels() + 7) / 8; }
    constexpr std::size_t leafIndexSize() const noexcept { return (treeLevels() + 7) / 8; }

    constexpr std::size_t publicKeySize() const noexcept { return 2 * n; }
    constexpr std::size_t signatureSize() const noexcept {
        return n * (1 + k * (1 + a) + h + d * chainCount());
    }
};

// In the order of their OIDs: 128s, 128f, 192s, 192f, 256s, 256f with SHA-2, then with SHAKE.
inline constexpr SlhDsaParameters kSlhDsaSets[] = {
    {SlhDsaHashFamily::Sha2, 16, 63, 7, 12, 14},  {SlhDsaHashFamily::Sha2, 16, 66, 22, 6, 33},
    {SlhDsaHashFamily::Sha2, 24, 63, 7, 14, 17},  {SlhDsaHashFamily::Sha2, 24, 66, 22, 8, 33},
    {SlhDsaHashFamily::Sha2, 32, 64, 8, 14, 22},  {SlhDsaHashFamily::Sha2, 32, 68, 17, 9, 35},
    {SlhDsaHashFamily::Shake, 16, 63, 7, 12, 14}, {SlhDsaHashFamily::Shake, 16, 66, 22, 6, 33},
    {SlhDsaHashFamily::Shake, 24, 63, 7, 14, 17}, {SlhDsaHashFamily::Shake, 24, 66, 22, 8, 33},
    {SlhDsaHashFamily::Shake, 32, 64, 8, 14, 22}, {SlhDsaHashFamily::Shake, 32, 68, 17, 9, 35},
};

// What is signed (FIPS 205 section 10.2): the message, or its digest. Each set has one digest for
// that, SHA-256 or SHAKE128 for n = 16, else SHA-512 or SHAKE256.
enum class SlhDsaVariant : unsigned char { Pure, Prehash };

// Whether `signature` is the SLH-DSA signature of `message` under `publicKey` (FIPS 205 section
// 10.3), with the empty context, as certificates use it by RFC 9909. Both must have the sizes of
// `set`, one of kSlhDsaSets; what has not is refused before anything is hashed. The time is that of
// 2,000 to 10,000 short digests and of one or two of the message.
bool verifySlhDsa(const SlhDsaParameters& set, SlhDsaVariant variant, ByteView publicKey,
                  ByteView message, ByteView signature) noexcept;

}  // namespace certstore
