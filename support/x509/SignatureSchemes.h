#pragma once

#include <span>

#include "support/asn1/DerReader.h"
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

    // NULL, or absent.
    bool hasNoParameters() const noexcept {
        DerReader der(parameters);
        return der.atEnd() || (der.readNull() && der.atEnd());
    }

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

// RSASSA-PSS (RFC 8017 section 8.1) with the digest that its parameters name. They must be there
// (RFC 4055 section 3.1), and keep to what a key of that algorithm asks for (section 3.3).
const char* verifyRsaPssScheme(const SignatureInput& input);
inline constexpr OidBytes kRsaPssKeys[] = {OidBytes("1.2.840.113549.1.1.1"),
                                           OidBytes("1.2.840.113549.1.1.10")};
inline constexpr SignatureScheme kRsaPss{verifyRsaPssScheme, kRsaPssKeys};

// ECDSA (FIPS 186-5, RFC 5480) on named curves. Its parameters, which should be absent (RFC 5758
// section 3.2), are not looked at: CAs have written NULL and more there, and nothing depends on it.
const char* verifyEcdsaScheme(const SignatureInput& input);
inline constexpr OidBytes kEcdsaKeys[] = {OidBytes("1.2.840.10045.2.1")};
inline constexpr SignatureScheme kEcdsa{verifyEcdsaScheme, kEcdsaKeys};

// DSA (FIPS 186-4, RFC 5758 section 3.1), its parameters absent, or NULL as some have written. The
// key must bring its own parameters: to inherit those of the issuer (RFC 3279 section 2.3.2) would
// make the answer depend on more than the two certificates.
const char* verifyDsaScheme(const SignatureInput& input);
inline constexpr OidBytes kDsaKeys[] = {OidBytes("1.2.840.10040.4.1")};
inline constexpr SignatureScheme kDsa{verifyDsaScheme, kDsaKeys};

// EdDSA (RFC 8032, the pure variants). Parameters must be absent (RFC 8410 section 3), but signers
// have written NULL. The algorithm of the signature and that of the key have one OID.
const char* verifyEd25519Scheme(const SignatureInput& input);
inline constexpr OidBytes kEd25519Keys[] = {OidBytes("1.3.101.112")};
inline constexpr SignatureScheme kEd25519{verifyEd25519Scheme, kEd25519Keys};
const char* verifyEd448Scheme(const SignatureInput& input);
inline constexpr OidBytes kEd448Keys[] = {OidBytes("1.3.101.113")};
inline constexpr SignatureScheme kEd448{verifyEd448Scheme, kEd448Keys};

// ML-DSA (FIPS 204, the pure variant with the empty context). Parameters must be absent, of the
// signature and of the key (RFC 9881 section 2). The two algorithms have one OID, which tells the
// parameter set.
const char* verifyMlDsaScheme(const SignatureInput& input);
inline constexpr OidBytes kMlDsaKeys[] = {OidBytes("2.16.840.1.101.3.4.3.17"),
                                          OidBytes("2.16.840.1.101.3.4.3.18"),
                                          OidBytes("2.16.840.1.101.3.4.3.19")};
template <std::size_t kSet>
inline constexpr SignatureScheme kMlDsa{verifyMlDsaScheme, std::span(kMlDsaKeys).subspan(kSet, 1)};

// SLH-DSA (RFC 9909), no parameters anywhere. The algorithm of the signature and that of the key
// have one OID, which tells the parameter set, in the order of kSlhDsaSets, first those that sign
// messages, then those that sign digests.
const char* verifySlhDsaScheme(const SignatureInput& input);
inline constexpr OidBytes kSlhDsaKeys[] = {
    OidBytes("2.16.840.1.101.3.4.3.20"), OidBytes("2.16.840.1.101.3.4.3.21"),
    OidBytes("2.16.840.1.101.3.4.3.22"), OidBytes("2.16.840.1.101.3.4.3.23"),
    OidBytes("2.16.840.1.101.3.4.3.24"), OidBytes("2.16.840.1.101.3.4.3.25"),
    OidBytes("2.16.840.1.101.3.4.3.26"), OidBytes("2.16.840.1.101.3.4.3.27"),
    OidBytes("2.16.840.1.101.3.4.3.28"), OidBytes("2.16.840.1.101.3.4.3.29"),
    OidBytes("2.16.840.1.101.3.4.3.30"), OidBytes("2.16.840.1.101.3.4.3.31"),
    OidBytes("2.16.840.1.101.3.4.3.35"), OidBytes("2.16.840.1.101.3.4.3.36"),
    OidBytes("2.16.840.1.101.3.4.3.37"), OidBytes("2.16.840.1.101.3.4.3.38"),
    OidBytes("2.16.840.1.101.3.4.3.39"), OidBytes("2.16.840.1.101.3.4.3.40"),
    OidBytes("2.16.840.1.101.3.4.3.41"), OidBytes("2.16.840.1.101.3.4.3.42"),
    OidBytes("2.16.840.1.101.3.4.3.43"), OidBytes("2.16.840.1.101.3.4.3.44"),
    OidBytes("2.16.840.1.101.3.4.3.45"), OidBytes("2.16.840.1.101.3.4.3.46"),
};
template <std::size_t kSet>
inline constexpr SignatureScheme kSlhDsa{verifySlhDsaScheme,
                                         std::span(kSlhDsaKeys).subspan(kSet, 1)};

// Known by name, and always refused: messages with the same MD2, MD4 or MD5 digest can be made, and
// have been to forge CA certificates (RFC 6149, 6150, 6151).
inline constexpr SignatureScheme kBrokenDigest{};

}  // namespace certstore
