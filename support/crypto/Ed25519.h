#pragma once

#include "support/base/ByteView.h"

namespace certstore {

// Whether `signature`, 64 octets, is the Ed25519 signature of `message` under `publicKey`, 32
// octets (RFC 8032 section 5.1.7, the pure variant; the keys of RFC 8410). Strict where that leaves
// a choice or signers differ: S must be below the order, A canonically encoded, and the equation is
// checked without the cofactor, by comparing the encoding of [S]B - [k]A with R octet by octet; so
// R is canonical, too. A key of small order is a point like any other: it verifies what its
// equation admits. For public data: the time taken depends on all arguments.
bool verifyEd25519(ByteView publicKey, ByteView message, ByteView signature) noexcept;

}  // namespace certstore
