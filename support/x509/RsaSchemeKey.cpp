#include "support/x509/RsaSchemeKey.h"

namespace certstore {

const char* readRsaSchemeKey(const SignatureInput& input, RsaPublicKey& key) noexcept {
    if (!readRsaPublicKey(input.key.bits, key))
        return "The issuer's RSA key is malformed.";
    if (!isUsableRsaKey(key))
        return "The issuer's RSA key is too large, or no RSA key can have its numbers.";
    if (input.signature.size() != rsaModulusSize(key))
        return "The RSA signature is not as long as the issuer's key.";
    return nullptr;
}

}  // namespace certstore
