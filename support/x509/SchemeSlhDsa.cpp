#include "support/crypto/SlhDsa.h"

#include <algorithm>

#include "support/x509/SignatureSchemes.h"

namespace certstore {

static_assert(std::size(kSlhDsaKeys) == std::size(kSlhDsaSets));

const char* verifySlhDsaScheme(const SignatureInput& input) {
    if (!input.parameters.empty() || !input.key.parameters.empty())
        return "The SLH-DSA signature or its key has parameters.";
    const auto* key =
        std::find(std::begin(kSlhDsaKeys), std::end(kSlhDsaKeys), input.key.algorithm);
    const SlhDsaParameters& set = kSlhDsaSets[key - std::begin(kSlhDsaKeys)];
    return verifySlhDsa(set, input.key.bits, input.signedBytes, input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
