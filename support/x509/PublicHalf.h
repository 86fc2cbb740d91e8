#pragma once

#include "support/buffers/DataBuffer.h"
#include "support/x509/PrivateKeyCodec.h"

namespace certstore {

// Computes the public half of a private key from its secret and puts it into `bits`, which is
// empty, in the form in which a SubjectPublicKeyInfo has it: for EC keys on named curves (an
// uncompressed point), DSA, Ed25519, Ed448, X25519 and X448; those of SLH-DSA hold it. Leaves
// `bits` empty for all others: RSA, curves and algorithms not known here, DSA groups of other sizes
// than those verified here, SLH-DSA keys of no right size. False when the secret is none of its
// kind: not in the range of its curve or group, or not of its size. Constant in time; about as
// costly as a signature. Throws std::bad_alloc.
[[nodiscard]] bool derivePublicBits(const PrivateKeyInfo& key, DataBuffer& bits);

}  // namespace certstore
