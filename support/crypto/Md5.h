#pragma once

#include <bit>
#include <cstdint>

#include "support/crypto/BlockHash.h"

namespace certstore {

// MD5 (RFC 1321), 16 bytes; update() and finish() are those of BlockHash. Forging a message with a
// given MD5 costs an attacker seconds, so no signature may rest on it: it is here only because old
// files derive the keys that protect them with it.
class Md5 : public BlockHash<std::uint32_t, 4, 16, std::endian::little> {
public:
    Md5() noexcept;
};

}  // namespace certstore
