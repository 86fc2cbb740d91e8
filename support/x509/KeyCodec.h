#pragma once

#include "support/asn1/DerReader.h"
#include "support/base/ByteView.h"
#include "support/buffers/StringBuffer.h"
#include "support/crypto/Dsa.h"
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

// The AlgorithmIdentifier of a key, public or private.
[[nodiscard]] bool readKeyAlgorithm(DerReader& outer, ByteView& algorithm,
                                    ByteView& parameters) noexcept;

// An RSAPublicKey (RFC 8017 appendix A.1.1).
[[nodiscard]] bool readRsaPublicKey(ByteView der, RsaPublicKey& key) noexcept;

// Dss-Parms (RFC 3279 section 2.3.2), the parameters of a DSA key.
[[nodiscard]] bool readDsaDomain(ByteView parameters, DsaDomain& domain) noexcept;

// Appends the short name of a key algorithm: "RSA", "EC", "Ed25519" ...; the dotted OID of one that
// has no name here.
void appendKeyTypeName(StringBuffer& out, ByteView algorithm);

// Appends the same with the size or the curve: "RSA 2048", "EC P-256".
void appendKeyDescription(StringBuffer& out, const PublicKeyInfo& info);

}  // namespace certstore
