#include "support/x509/NamedCurves.h"

#include "support/asn1/DerReader.h"

namespace certstore {

namespace {

constexpr NamedCurve kNamedCurves[] = {
    {OidBytes("1.2.840.10045.3.1.7"), "P-256", EcCurveId::P256},
    {OidBytes("1.3.132.0.34"), "P-384", EcCurveId::P384},
    {OidBytes("1.3.132.0.35"), "P-521", EcCurveId::P521},
    {OidBytes("1.3.132.0.33"), "P-224", EcCurveId::P224},
    {OidBytes("1.2.840.10045.3.1.1"), "P-192", EcCurveId::P192},
    {OidBytes("1.3.132.0.10"), "secp256k1", EcCurveId::Secp256k1},
    {OidBytes("1.3.36.3.3.2.8.1.1.5"), "brainpoolP224r1", EcCurveId::BrainpoolP224r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.7"), "brainpoolP256r1", EcCurveId::BrainpoolP256r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.9"), "brainpoolP320r1", EcCurveId::BrainpoolP320r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.11"), "brainpoolP384r1", EcCurveId::BrainpoolP384r1},
    {OidBytes("1.3.36.3.3.2.8.1.1.13"), "brainpoolP512r1", EcCurveId::BrainpoolP512r1},
};

}  // namespace

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

}  // namespace certstore
