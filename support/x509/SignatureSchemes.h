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

// RSASSA-PKCS1-v1_5 (RFC 8017 section 8.2), its parameters NULL or absent (RFC 4055 section 5).
const char* verifyRsaPkcs1Scheme(const SignatureInput& input);

// RSASSA-PSS (RFC 8017 section 8.1) with the digest that its parameters name. They must be there
// (RFC 4055 section 3.1), and keep to what a key of that algorithm asks for (section 3.3).
const char* verifyRsaPssScheme(const SignatureInput& input);

// ECDSA (FIPS 186-5, RFC 5480) on named curves. Its parameters, which should be absent (RFC 5758
// section 3.2), are not looked at: CAs have written NULL and more there, and nothing depends on it.
const char* verifyEcdsaScheme(const SignatureInput& input);

constexpr const char* kSignatureDoesNotMatch = "The signature does not match.";

}  // namespace certstore
