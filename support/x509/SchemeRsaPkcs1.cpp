#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/crypto/RsaPkcs1.h"
#include "support/x509/RsaSchemeKey.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyRsaPkcs1Scheme(const SignatureInput& input) {
    constexpr OidBytes kRsaEncryption("1.2.840.113549.1.1.1");
    constexpr OidBytes kRsassaPss("1.2.840.113549.1.1.10");
    if (kRsassaPss == input.key.algorithm)
        return "An RSA PKCS#1 v1.5 signature, and the issuer's key is for RSASSA-PSS only.";
    if (kRsaEncryption != input.key.algorithm)
        return "An RSA signature needs an RSA key, and the issuer's is of another kind.";
    DerReader parameters(input.parameters);
    if (!parameters.atEnd() && !(parameters.readNull() && parameters.atEnd()))
        return "The RSA signature algorithm's parameters are neither NULL nor absent.";
    RsaPublicKey key;
    if (const char* reason = readRsaSchemeKey(input, key))
        return reason;
    const DigestValue digest = computeDigest(input.digest, input.signedBytes);
    return verifyRsaPkcs1(key, input.digest, digest.view(), input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
