#include "support/x509/SignatureVerifier.h"

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

struct SignatureAlgorithm {
    OidBytes oid;
    const char* name;
    SignatureScheme verify;
    DigestAlgorithm digest;
};

constexpr SignatureAlgorithm kAlgorithms[] = {
    {OidBytes("1.2.840.113549.1.1.11"), "sha256WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha256},
    {OidBytes("1.2.840.10045.4.3.2"), "ecdsa-with-SHA256", verifyEcdsaScheme,
     DigestAlgorithm::Sha256},
    {OidBytes("1.2.840.10045.4.3.3"), "ecdsa-with-SHA384", verifyEcdsaScheme,
     DigestAlgorithm::Sha384},
    {OidBytes("1.2.840.113549.1.1.12"), "sha384WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha384},
    {OidBytes("1.2.840.113549.1.1.13"), "sha512WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha512},
    {OidBytes("1.2.840.113549.1.1.5"), "sha1WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha1},
    {OidBytes("1.2.840.113549.1.1.14"), "sha224WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha224},
    // The same under the older OID of the OIW, which some old CAs used.
    {OidBytes("1.3.14.3.2.29"), "sha1WithRSA", verifyRsaPkcs1Scheme, DigestAlgorithm::Sha1},
    {OidBytes("1.2.840.10045.4.3.4"), "ecdsa-with-SHA512", verifyEcdsaScheme,
     DigestAlgorithm::Sha512},
    {OidBytes("1.2.840.10045.4.3.1"), "ecdsa-with-SHA224", verifyEcdsaScheme,
     DigestAlgorithm::Sha224},
    {OidBytes("1.2.840.10045.4.1"), "ecdsa-with-SHA1", verifyEcdsaScheme, DigestAlgorithm::Sha1},
    // Its parameters name the digest.
    {OidBytes("1.2.840.113549.1.1.10"), "rsassaPss", verifyRsaPssScheme, DigestAlgorithm::Sha1},
    {OidBytes("1.2.840.113549.1.1.15"), "sha512-224WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha512_224},
    {OidBytes("1.2.840.113549.1.1.16"), "sha512-256WithRSAEncryption", verifyRsaPkcs1Scheme,
     DigestAlgorithm::Sha512_256},
    {OidBytes("2.16.840.1.101.3.4.3.13"), "id-rsassa-pkcs1-v1-5-with-sha3-224",
     verifyRsaPkcs1Scheme, DigestAlgorithm::Sha3_224},
    {OidBytes("2.16.840.1.101.3.4.3.14"), "id-rsassa-pkcs1-v1-5-with-sha3-256",
     verifyRsaPkcs1Scheme, DigestAlgorithm::Sha3_256},
    {OidBytes("2.16.840.1.101.3.4.3.15"), "id-rsassa-pkcs1-v1-5-with-sha3-384",
     verifyRsaPkcs1Scheme, DigestAlgorithm::Sha3_384},
    {OidBytes("2.16.840.1.101.3.4.3.16"), "id-rsassa-pkcs1-v1-5-with-sha3-512",
     verifyRsaPkcs1Scheme, DigestAlgorithm::Sha3_512},
};

// Takes an AlgorithmIdentifier apart; the parser has made sure that it is one.
const SignatureAlgorithm* findAlgorithm(ByteView identifier, ByteView& oid,
                                        ByteView& parameters) noexcept {
    DerReader der(identifier), inner;
    if (!der.readSequence(inner) || !inner.readOid(oid))
        return nullptr;
    parameters = inner.rest();
    for (const SignatureAlgorithm& algorithm : kAlgorithms)
        if (algorithm.oid == oid)
            return &algorithm;
    return nullptr;
}

const char* verify(const X509& cert, ByteView issuerSpki, const SignatureAlgorithm& algorithm,
                   ByteView parameters) {
    if (!equalBytes(cert.signatureAlgorithm(), cert.tbsAlgorithm()))
        return "The certificate names two different signature algorithms.";
    if (cert.signatureHasUnusedBits())
        return "The signature is not a number of whole bytes.";
    PublicKeyInfo key;
    if (!readPublicKeyInfo(issuerSpki, key))
        return "The issuer's public key is malformed.";
    return algorithm.verify({algorithm.digest, parameters, cert.tbs(), cert.signature(), key});
}

}  // namespace

bool verifySignature(const X509& cert, ByteView issuerSpki, LogBase& log) {
    ByteView oid, parameters;
    const SignatureAlgorithm* algorithm = findAlgorithm(cert.signatureAlgorithm(), oid, parameters);
    if (!algorithm) {
        StringBuffer message;
        message.append("Unknown signature algorithm ");
        appendDottedOid(message, oid);
        message.appendChar('.');
        log.LogError(message.getString());
        return false;
    }
    const char* reason = verify(cert, issuerSpki, *algorithm, parameters);
    if (reason)
        log.LogError(reason);
    return !reason;
}

void appendSignatureAlgorithmName(StringBuffer& out, ByteView algorithm) {
    ByteView oid, parameters;
    if (const SignatureAlgorithm* known = findAlgorithm(algorithm, oid, parameters))
        out.append(known->name);
    else
        appendDottedOid(out, oid);
}

}  // namespace certstore
