#include "support/crypto/Ed25519.h"
#include "support/crypto/Ed448.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

using VerifyPrimitive = bool (*)(ByteView publicKey, ByteView message, ByteView signature) noexcept;

const char* verifyPure(const SignatureInput& input, VerifyPrimitive verify) {
    if (!input.hasNoParameters())
        return "The EdDSA signature algorithm's parameters are neither NULL nor absent.";
    return verify(input.key.bits, input.signedBytes, input.signature) ? nullptr
                                                                      : kSignatureDoesNotMatch;
}

}  // namespace

const char* verifyEd25519Scheme(const SignatureInput& input) {
    return verifyPure(input, verifyEd25519);
}

const char* verifyEd448Scheme(const SignatureInput& input) {
    return verifyPure(input, verifyEd448);
}

}  // namespace certstore
