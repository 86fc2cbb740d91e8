#pragma once

#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"
#include "support/crypto/Rsa.h"

namespace certstore {

// A SubjectPublicKeyInfo (RFC 5280 section 4.1.2.7) taken apart; slices of its encoding.
struct PublicKeyInfo {
    ByteView algorithm;   // content octets of the OID
    ByteView parameters;  // whole, with tag and length; empty when absent
    ByteView bits;        // the BIT STRING's bytes
};

// False unless `spki` is one whole SubjectPublicKeyInfo whose key is a number of whole bytes. The
// algorithm is filled in also when only the key is not.
[[nodiscard]] bool readPublicKeyInfo(ByteView spki, PublicKeyInfo& info) noexcept;

// An RSAPublicKey (RFC 8017 appendix A.1.1).
[[nodiscard]] bool readRsaPublicKey(ByteView der, RsaPublicKey& key) noexcept;

// Appends the short name of a key algorithm: "RSA", "EC", "Ed25519" ...; the dotted OID of one that
// has no name here.
void appendKeyTypeName(StringBuffer& out, ByteView algorithm);

// Appends the same with the size or the curve: "RSA 2048", "EC P-256".
void appendKeyDescription(StringBuffer& out, const PublicKeyInfo& info);

// A PrivateKeyInfo or OneAsymmetricKey (RFC 5208, RFC 5958) taken apart; slices of its encoding.
struct PrivateKeyInfo {
    ByteView algorithm;
    ByteView parameters;
    RsaPublicKey rsa;     // of an RSA key: its public half
    ByteView publicBits;  // of another: its public half where the encoding holds it, else empty
};

// False unless `der` is one whole PrivateKeyInfo; RSA and EC keys must be well formed inside too.
[[nodiscard]] bool readPrivateKeyInfo(ByteView der, PrivateKeyInfo& info) noexcept;

enum class KeyMatch { Same, Different, Unknown };

// Whether the private key's public half is this public key. Unknown when the encoding of the
// private key does not hold its public half and nothing else tells them apart.
KeyMatch matchKeys(const PrivateKeyInfo& privateKey, const PublicKeyInfo& publicKey) noexcept;

}  // namespace certstore
