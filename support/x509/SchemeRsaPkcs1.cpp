#include "support/asn1/DerReader.h"
#include "support/crypto/RsaPkcs1.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyRsaPkcs1Scheme(const SignatureInput& input) {
    DerReader parameters(input.parameters);
    if (!parameters.atEnd() && !(parameters.readNull() && parameters.atEnd()))
        return "The RSA signature algorithm's parameters are neither NULL nor absent.";
    RsaPublicKey key;
    if (!readRsaPublicKey(input.key.bits, key))
        return "The issuer's RSA key is malformed.";
    const DigestValue digest = input.computeDigest();
    return verifyRsaPkcs1(key, input.digest, digest.view(), input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
