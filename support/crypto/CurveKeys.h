#pragma once

#include <span>

#include "support/base/ByteView.h"

namespace certstore {

// The public halves of private keys on the curves of RFC 7748 and RFC 8032. A private key is a
// string of random octets; every string of the right size is a key. Constant in time; what these
// functions hold of the secret is wiped. False, with `publicKey` unspecified, only when the private
// key is of the wrong size.

// `seed`: 32 octets (RFC 8032 section 5.1.5).
bool deriveEd25519PublicKey(ByteView seed, std::span<unsigned char, 32> publicKey) noexcept;

// `seed`: 57 octets (RFC 8032 section 5.2.5).
bool deriveEd448PublicKey(ByteView seed, std::span<unsigned char, 57> publicKey) noexcept;

// `scalar`: 32 octets, of which the function fixes the bits that RFC 7748 section 5 fixes.
bool deriveX25519PublicKey(ByteView scalar, std::span<unsigned char, 32> publicKey) noexcept;

// `scalar`: 56 octets, likewise.
bool deriveX448PublicKey(ByteView scalar, std::span<unsigned char, 56> publicKey) noexcept;

}  // namespace certstore
