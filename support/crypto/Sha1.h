#pragma once

#include <cstdint>

#include "support/crypto/BlockHash.h"

namespace certstore {

// SHA-1 (FIPS 180-4 section 6.1), 20 bytes; update() and finish() are those of BlockHash. Broken
// for collisions: it is here to name things and to check old signatures.
class Sha1 : public BlockHash<std::uint32_t, 5, 20> {
public:
    Sha1() noexcept;
};

}  // namespace certstore
