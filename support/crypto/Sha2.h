#pragma once

#include <cstdint>

#include "support/crypto/BlockHash.h"

namespace certstore {

// The SHA-2 family (FIPS 180-4 sections 6.2 to 6.5); update() and finish() are those of BlockHash.

class Sha224 : public BlockHash<std::uint32_t, 8, 28> {
public:
    Sha224() noexcept;
};

class Sha256 : public BlockHash<std::uint32_t, 8, 32> {
public:
    Sha256() noexcept;
};

class Sha384 : public BlockHash<std::uint64_t, 8, 48> {
public:
    Sha384() noexcept;
};

class Sha512 : public BlockHash<std::uint64_t, 8, 64> {
public:
    Sha512() noexcept;
};

// Sha512 from other initial values and cut short (FIPS 180-4 sections 6.6 and 6.7).

class Sha512_224 : public BlockHash<std::uint64_t, 8, 28> {
public:
    Sha512_224() noexcept;
};

class Sha512_256 : public BlockHash<std::uint64_t, 8, 32> {
public:
    Sha512_256() noexcept;
};

}  // namespace certstore
