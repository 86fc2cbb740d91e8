#pragma once

#include <span>

#include "support/asn1/Oid.h"
#include "support/crypto/Digest.h"
#include "support/x509/KeyCodec.h"

namespace certstore {

// What a signature scheme gets to see.
struct SignatureInput {
    DigestAlgorithm digest;  // the one that the signature algorithm names
    ByteView parameters;     // of the signature algorithm, whole; empty when absent
    ByteView signedBytes;
    ByteView signature;
    const PublicKeyInfo& key;  // of a kind that the scheme takes

    DigestValue computeDigest() const noexcept {
        return certstore::computeDigest(digest, signedBytes);
    }
};

// One scheme, one function, one file. The function returns null when the signature verifies, else
// the reason why it does not, as a text that never ends. It refuses what can be refused by looking
// at the key and the signature before it computes anything.
struct SignatureScheme {
    const char* (*verify)(const SignatureInput&) = nullptr;
    std::span<const OidBytes> keys = {};  // the key algorithms it takes
};

constexpr const char* kSignatureDoesNotMatch = "The signature does not match.";

// RSASSA-PKCS1-v1_5 (RFC 8017 section 8.2), its parameters NULL or absent (RFC 4055 section 5).
const char* verifyRsaPkcs1Scheme(const SignatureInput& input);
inline constexpr OidBytes kRsaPkcs1Keys[] = {OidBytes("1.2.840.113549.1.1.1")};
inline constexpr SignatureScheme kRsaPkcs1{verifyRsaPkcs1Scheme, kRsaPkcs1Keys};

// ECDSA (FIPS 186-5, RFC 5480) on named curves. Its parameters, which should be absent (RFC 5758
// section 3.2), are not looked at: CAs have written NULL and more there, and nothing depends on it.
const char* verifyEcdsaScheme(const SignatureInput& input);
inline constexpr OidBytes kEcdsaKeys[] = {OidBytes("1.2.840.10045.2.1")};
inline constexpr SignatureScheme kEcdsa{verifyEcdsaScheme, kEcdsaKeys};

// Known by name, and always refused: messages with the same MD2, MD4 or MD5 digest can be made, and
// have been to forge CA certificates (RFC 6149, 6150, 6151).
inline constexpr SignatureScheme kBrokenDigest{};

}  // namespace certstore
