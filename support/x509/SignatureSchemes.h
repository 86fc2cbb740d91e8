#pragma once

#include "support/crypto/Digest.h"
#include "support/x509/KeyCodec.h"

namespace certstore {

// What a signature scheme gets to see. One scheme, one function, one file.
struct SignatureInput {
    DigestAlgorithm digest;  // the one that the signature algorithm names
    ByteView parameters;     // of the signature algorithm, whole; empty when absent
    ByteView signedBytes;
    ByteView signature;
    const PublicKeyInfo& key;
};

// Null when the signature verifies, else the reason why it does not, as a text that never ends.
using SignatureScheme = const char* (*)(const SignatureInput&);

// Whether parameters, of an algorithm that has none, are absent or NULL. Standards differ on which
// it must be (RFC 4055 section 5, RFC 5758 section 3.2), and so do CAs.
bool areNoParameters(ByteView parameters) noexcept;

// RSASSA-PKCS1-v1_5 (RFC 8017 section 8.2).
const char* verifyRsaPkcs1Scheme(const SignatureInput& input);

// ECDSA (FIPS 186-5, RFC 5480) on named curves.
const char* verifyEcdsaScheme(const SignatureInput& input);

constexpr const char* kSignatureDoesNotMatch = "The signature does not match.";
constexpr const char* kBadSignatureParameters =
    "The signature algorithm's parameters are malformed.";

}  // namespace certstore
