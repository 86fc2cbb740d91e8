#include "support/x509/KeyTypes.h"

namespace certstore {

namespace {

constexpr KeyType kKeyTypes[] = {
    {OidBytes("1.2.840.113549.1.1.1"), "RSA", KeyFamily::Rsa},
    {OidBytes("1.2.840.10045.2.1"), "EC", KeyFamily::Ec},
    {OidBytes("1.2.840.113549.1.1.10"), "RSASSA-PSS", KeyFamily::Rsa},
    {OidBytes("1.2.840.10040.4.1"), "DSA", KeyFamily::Dsa},
    {OidBytes("1.3.101.110"), "X25519", KeyFamily::X25519},
    {OidBytes("1.3.101.111"), "X448", KeyFamily::X448},
    {OidBytes("1.3.101.112"), "Ed25519", KeyFamily::Ed25519},
    {OidBytes("1.3.101.113"), "Ed448", KeyFamily::Ed448},
    {OidBytes("2.16.840.1.101.3.4.3.17"), "ML-DSA-44"},
    {OidBytes("2.16.840.1.101.3.4.3.18"), "ML-DSA-65"},
    {OidBytes("2.16.840.1.101.3.4.3.19"), "ML-DSA-87"},
    {OidBytes("2.16.840.1.101.3.4.3.20"), "SLH-DSA-SHA2-128s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.21"), "SLH-DSA-SHA2-128f", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.22"), "SLH-DSA-SHA2-192s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.23"), "SLH-DSA-SHA2-192f", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.24"), "SLH-DSA-SHA2-256s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.25"), "SLH-DSA-SHA2-256f", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.26"), "SLH-DSA-SHAKE-128s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.27"), "SLH-DSA-SHAKE-128f", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.28"), "SLH-DSA-SHAKE-192s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.29"), "SLH-DSA-SHAKE-192f", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.30"), "SLH-DSA-SHAKE-256s", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.31"), "SLH-DSA-SHAKE-256f", KeyFamily::SlhDsa},
    // For signatures of digests (RFC 9909).
    {OidBytes("2.16.840.1.101.3.4.3.35"), "SLH-DSA-SHA2-128s-with-SHA256", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.36"), "SLH-DSA-SHA2-128f-with-SHA256", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.37"), "SLH-DSA-SHA2-192s-with-SHA512", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.38"), "SLH-DSA-SHA2-192f-with-SHA512", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.39"), "SLH-DSA-SHA2-256s-with-SHA512", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.40"), "SLH-DSA-SHA2-256f-with-SHA512", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.41"), "SLH-DSA-SHAKE-128s-with-SHAKE128", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.42"), "SLH-DSA-SHAKE-128f-with-SHAKE128", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.43"), "SLH-DSA-SHAKE-192s-with-SHAKE256", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.44"), "SLH-DSA-SHAKE-192f-with-SHAKE256", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.45"), "SLH-DSA-SHAKE-256s-with-SHAKE256", KeyFamily::SlhDsa},
    {OidBytes("2.16.840.1.101.3.4.3.46"), "SLH-DSA-SHAKE-256f-with-SHAKE256", KeyFamily::SlhDsa},
};

}  // namespace

const KeyType* findKeyType(ByteView algorithm) noexcept {
    for (const KeyType& type : kKeyTypes)
        if (type.oid == algorithm)
            return &type;
    return nullptr;
}

KeyFamily keyFamilyOf(ByteView algorithm) noexcept {
    const KeyType* type = findKeyType(algorithm);
    return type ? type->family : KeyFamily::Other;
}

}  // namespace certstore
