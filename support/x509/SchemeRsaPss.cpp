#include "support/asn1/Oid.h"
#include "support/x509/RsaPssParameters.h"
#include "support/x509/RsaSchemeKey.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

// What a key may say about its signatures (RFC 4055 section 3.3); a key without parameters, or one
// for RSA of every kind, says nothing.
const char* checkKeyRestrictions(const PublicKeyInfo& key, const RsaPssOptions& used) noexcept {
    constexpr OidBytes kRsassaPss("1.2.840.113549.1.1.10");
    if (kRsassaPss != key.algorithm || key.parameters.empty())
        return nullptr;
    RsaPssOptions wanted;
    if (!readRsaPssParameters(key.parameters, wanted))
        return "The RSASSA-PSS parameters of the issuer's key are malformed or not supported.";
    if (used.digest != wanted.digest)
        return "The RSASSA-PSS signature has another digest than the issuer's key allows.";
    if (used.maskDigest != wanted.maskDigest)
        return "The RSASSA-PSS signature has another MGF1 digest than the issuer's key allows.";
    if (used.saltSize < wanted.saltSize)
        return "The RSASSA-PSS signature has a shorter salt than the issuer's key allows.";
    return nullptr;
}

}  // namespace

const char* verifyRsaPssScheme(const SignatureInput& input) {
    if (input.parameters.empty())
        return "The RSASSA-PSS signature algorithm has no parameters.";
    RsaPssOptions options;
    if (!readRsaPssParameters(input.parameters, options))
        return "The RSASSA-PSS parameters of the signature are malformed or not supported.";
    if (const char* reason = checkKeyRestrictions(input.key, options))
        return reason;
    RsaPublicKey key;
    if (const char* reason = readRsaSchemeKey(input, key))
        return reason;
    const DigestValue digest = computeDigest(options.digest, input.signedBytes);
    return verifyRsaPss(key, options, digest.view(), input.signature) ? nullptr
                                                                      : kSignatureDoesNotMatch;
}

}  // namespace certstore
