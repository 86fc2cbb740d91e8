#include <algorithm>
#include <iterator>

#include "support/crypto/SlhDsa.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

constexpr std::size_t kSetCount = std::size(kSlhDsaSets);
static_assert(std::size(kSlhDsaKeys) == 2 * kSetCount);

}  // namespace

const char* verifySlhDsaScheme(const SignatureInput& input) {
    if (!input.parameters.empty() || !input.key.parameters.empty())
        return "The SLH-DSA signature or its key has parameters.";
    const auto* key =
        std::find(std::begin(kSlhDsaKeys), std::end(kSlhDsaKeys), input.key.algorithm);
    const auto index = static_cast<std::size_t>(key - std::begin(kSlhDsaKeys));
    const auto variant = index < kSetCount ? SlhDsaVariant::Pure : SlhDsaVariant::Prehash;
    const SlhDsaParameters& set = kSlhDsaSets[index % kSetCount];
    if (input.key.bits.size() != set.publicKeySize())
        return "The issuer's SLH-DSA key is malformed.";
    if (input.signature.size() != set.signatureSize())
        return "The SLH-DSA signature is malformed.";
    return verifySlhDsa(set, variant, input.key.bits, input.signedBytes, input.signature)
        ? nullptr
        : kSignatureDoesNotMatch;
}

}  // namespace certstore
