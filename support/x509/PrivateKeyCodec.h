#pragma once

#include "support/base/ByteView.h"
#include "support/crypto/Rsa.h"

namespace certstore {

// A PrivateKeyInfo or OneAsymmetricKey (RFC 5208, RFC 5958) taken apart; slices of its encoding.
struct PrivateKeyInfo {
    ByteView algorithm;   // content octets of the OID
    ByteView parameters;  // whole; of an EC key those that it holds inside, where they name a curve
    RsaPublicKey rsa;     // of an RSA key: its public half
    ByteView publicBits;  // of another: its public half where the encoding holds it, else empty
    // What the public half follows from. EC: the scalar (RFC 5915); DSA: x (FIPS 186-4); X25519,
    // X448, Ed25519, Ed448: the octets (RFC 8410 section 7); SLH-DSA: all octets (RFC 9909),
    // however many; of another key nothing.
    ByteView secret;
};

// False unless `der` is one whole PrivateKeyInfo; RSA keys and those of the kinds named above but
// SLH-DSA must be well formed inside too, and an EC key must not name two curves.
[[nodiscard]] bool readPrivateKeyInfo(ByteView der, PrivateKeyInfo& info) noexcept;

}  // namespace certstore
