#pragma once

#include "support/base/ByteView.h"

namespace certstore {

// Whether `signature`, 114 octets, is the Ed448 signature of `message` with the empty context under
// `publicKey`, 57 octets (RFC 8032 section 5.2.7, the pure variant; the keys of RFC 8410). As
// strict as verifyEd25519() and in the same places; for public data, too.
bool verifyEd448(ByteView publicKey, ByteView message, ByteView signature) noexcept;

}  // namespace certstore
