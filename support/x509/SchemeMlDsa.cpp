#include <algorithm>
#include <iterator>

#include "support/crypto/MlDsa.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyMlDsaScheme(const SignatureInput& input) {
    // In the order of kMlDsaKeys.
    static constexpr const MlDsaParameters* kSets[] = {&kMlDsa44, &kMlDsa65, &kMlDsa87};
    static_assert(std::size(kSets) == std::size(kMlDsaKeys));
    if (!input.parameters.empty())
        return "The ML-DSA signature algorithm has parameters.";
    // The scheme takes no other keys: what is none of the first is the last.
    const auto* key =
        std::find(std::begin(kMlDsaKeys), std::end(kMlDsaKeys) - 1, input.key.algorithm);
    const MlDsaParameters& set = *kSets[key - std::begin(kMlDsaKeys)];
    if (!input.key.parameters.empty() || input.key.bits.size() != set.publicKeySize())
        return "The issuer's ML-DSA key is malformed.";
    if (input.signature.size() != set.signatureSize())
        return "The ML-DSA signature is malformed.";
    return verifyMlDsa(set, input.key.bits, input.signedBytes, input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
