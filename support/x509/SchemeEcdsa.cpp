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
    {OidBytes("1.3.132.0.35"), EcCurveId::P521},
    {OidBytes("1.3.132.0.33"), EcCurveId::P224},
    {OidBytes("1.2.840.10045.3.1.1"), EcCurveId::P192},
    {OidBytes("1.3.132.0.10"), EcCurveId::Secp256k1},
    {OidBytes("1.3.36.3.3.2.8.1.1.5"), EcCurveId::BrainpoolP224r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.7"), EcCurveId::BrainpoolP256r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.9"), EcCurveId::BrainpoolP320r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.11"), EcCurveId::BrainpoolP384r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.13"), EcCurveId::BrainpoolP512r1},
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
    const NamedCurve* curve = findNamedCurve(input.key.parameters);
    if (!curve)
        return "The issuer's EC key is not on a supported named curve.";
    ByteView r, s;
    if (!readSignature(input.signature, r, s))
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
