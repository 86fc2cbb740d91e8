#include "support/crypto/Ecdsa.h"
#include "support/x509/NamedCurves.h"
#include "support/x509/SignatureNumbers.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

const char* verifyEcdsaScheme(const SignatureInput& input) {
    const NamedCurve* curve = findNamedCurve(input.key.parameters);
    if (!curve)
        return "The issuer's EC key is not on a supported named curve.";
    ByteView r, s;
    if (!readSignatureNumbers(input.signature, r, s))
        return "The ECDSA signature is malformed.";
    if (!isCurvePoint(curve->id, input.key.bits))
        return "The issuer's EC key is not a point of its curve.";
    if (!isCurveScalar(curve->id, r) || !isCurveScalar(curve->id, s))
        return "The ECDSA signature is out of range.";
    const DigestValue digest = input.computeDigest();
    return verifyEcdsa(curve->id, input.key.bits, digest.view(), r, s) ? nullptr
                                                                       : kSignatureDoesNotMatch;
}

}  // namespace certstore
