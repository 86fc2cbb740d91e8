#include "support/crypto/MlDsa.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

const char* verifyPure(const MlDsaParameters& set, const SignatureInput& input) {
    if (!input.parameters.empty())
        return "The ML-DSA signature algorithm has parameters.";
    if (!input.key.parameters.empty() || input.key.bits.size() != set.publicKeySize())
        return "The issuer's ML-DSA key is malformed.";
    if (input.signature.size() != set.signatureSize())
        return "The ML-DSA signature is malformed.";
    return verifyMlDsa(set, input.key.bits, input.signedBytes, input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace

const char* verifyMlDsa44Scheme(const SignatureInput& input) {
    return verifyPure(kMlDsa44, input);
}

const char* verifyMlDsa65Scheme(const SignatureInput& input) {
    return verifyPure(kMlDsa65, input);
}

const char* verifyMlDsa87Scheme(const SignatureInput& input) {
    return verifyPure(kMlDsa87, input);
}

}  // namespace certstore
