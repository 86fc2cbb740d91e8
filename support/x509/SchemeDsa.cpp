#include "support/asn1/DerReader.h"
#include "support/crypto/Dsa.h"
#include "support/x509/SignatureNumbers.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyDsaScheme(const SignatureInput& input) {
    DerReader bits(input.key.bits);
    if (!input.hasNoParameters())
        return "The DSA signature algorithm's parameters are neither NULL nor absent.";
    if (input.key.parameters.empty())
        return "The issuer's DSA key inherits its parameters, which is not supported.";
    DsaPublicKey key;
    if (!readDsaDomain(input.key.parameters, key) || !bits.readUnsigned(key.y) || !bits.atEnd())
        return "The issuer's DSA key is malformed.";
    if (!isDsaDomain(key))
        return "The issuer's DSA key is of an unsupported size or out of range.";
    ByteView r, s;
    if (!readSignatureNumbers(input.signature, r, s))
        return "The DSA signature is malformed.";
    const DigestValue digest = input.computeDigest();
    return verifyDsa(key, digest.view(), r, s) ? nullptr : kSignatureDoesNotMatch;
}

}  // namespace certstore
