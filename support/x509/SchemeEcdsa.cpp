#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/crypto/Ecdsa.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

namespace {

struct NamedCurve {
    OidBytes oid;  // RFC 5480 section 2.1.1.1
    EcCurveId id;
};

constexpr NamedCurve kNamedCurves[] = {
    {OidBytes("1.2.840.10045.3.1.7"), EcCurveId::P256},
    {OidBytes("1.3.132.0.34"), EcCurveId::P384},
};

const NamedCurve* findNamedCurve(ByteView parameters) noexcept {
    DerReader der(parameters);
    ByteView oid;
    if (!der.readOid(oid) || !der.atEnd())
        return nullptr;
    for (const NamedCurve& curve : kNamedCurves)
        if (curve.oid == oid)
            return &curve;
    return nullptr;
}

// Ecdsa-Sig-Value (RFC 3279 section 2.2.3).
bool readSignature(ByteView signature, ByteView& r, ByteView& s) noexcept {
    DerReader der(signature), inner;
    return der.readSequence(inner) && der.atEnd() && inner.readUnsigned(r) && inner.readUnsigned(s)
        && inner.atEnd();
}

}  // namespace

const char* verifyEcdsaScheme(const SignatureInput& input) {
    constexpr OidBytes kEcPublicKey("1.2.840.10045.2.1");
    if (kEcPublicKey != input.key.algorithm)
        return "An ECDSA signature needs an EC key, and the issuer's is of another kind.";
    const NamedCurve* curve = findNamedCurve(input.key.parameters);
    if (!curve)
        return "The issuer's EC key is not on a supported named curve.";
    ByteView r, s;
    if (!readSignature(input.signature, r, s))
        return "The ECDSA signature is malformed.";
    const DigestValue digest = computeDigest(input.digest, input.signedBytes);
    return verifyEcdsa(curve->id, input.key.bits, digest.view(), r, s) ? nullptr
                                                                       : kSignatureDoesNotMatch;
}

}  // namespace certstore
