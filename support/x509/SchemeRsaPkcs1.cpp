#include "support/crypto/RsaPkcs1.h"
#include "support/x509/RsaSchemeKey.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyRsaPkcs1Scheme(const SignatureInput& input) {
    if (!input.hasNoParameters())
        return "The RSA signature algorithm's parameters are neither NULL nor absent.";
    RsaPublicKey key;
    if (const char* reason = readRsaSchemeKey(input, key))
        return reason;
    const DigestValue digest = input.computeDigest();
    return verifyRsaPkcs1(key, input.digest, digest.view(), input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
