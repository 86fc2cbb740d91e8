#include "support/x509/SignatureAlgorithms.h"

#include "support/asn1/DerReader.h"

namespace certstore {

namespace {

using enum DigestAlgorithm;

// RFC 3279, 4055, 5758, 8410, 9881, 9909; the most frequent ones first.
constexpr SignatureAlgorithm kAlgorithms[] = {
    {OidBytes("1.2.840.113549.1.1.11"), "sha256WithRSAEncryption", kRsaPkcs1, Sha256},
    {OidBytes("1.2.840.10045.4.3.2"), "ecdsa-with-SHA256", kEcdsa, Sha256},
    {OidBytes("1.2.840.10045.4.3.3"), "ecdsa-with-SHA384", kEcdsa, Sha384},
    {OidBytes("1.2.840.113549.1.1.12"), "sha384WithRSAEncryption", kRsaPkcs1, Sha384},
    {OidBytes("1.2.840.113549.1.1.13"), "sha512WithRSAEncryption", kRsaPkcs1, Sha512},
    {OidBytes("1.2.840.113549.1.1.5"), "sha1WithRSAEncryption", kRsaPkcs1, Sha1},
    {OidBytes("1.2.840.113549.1.1.14"), "sha224WithRSAEncryption", kRsaPkcs1, Sha224},
    // The same under the older OID of the OIW, which some old CAs used.
    {OidBytes("1.3.14.3.2.29"), "sha1WithRSA", kRsaPkcs1, Sha1},
    {OidBytes("1.2.840.10045.4.3.4"), "ecdsa-with-SHA512", kEcdsa, Sha512},
    {OidBytes("1.2.840.10045.4.3.1"), "ecdsa-with-SHA224", kEcdsa, Sha224},
    {OidBytes("1.2.840.10045.4.1"), "ecdsa-with-SHA1", kEcdsa, Sha1},
    {OidBytes("2.16.840.1.101.3.4.3.9"), "ecdsa-with-SHA3-224", kEcdsa, Sha3_224},
    {OidBytes("2.16.840.1.101.3.4.3.10"), "ecdsa-with-SHA3-256", kEcdsa, Sha3_256},
    {OidBytes("2.16.840.1.101.3.4.3.11"), "ecdsa-with-SHA3-384", kEcdsa, Sha3_384},
    {OidBytes("2.16.840.1.101.3.4.3.12"), "ecdsa-with-SHA3-512", kEcdsa, Sha3_512},
    {OidBytes("1.2.840.10040.4.3"), "dsa-with-sha1", kDsa, Sha1},
    // The same under the older OID of the OIW.
    {OidBytes("1.3.14.3.2.27"), "dsaWithSHA1", kDsa, Sha1},
    {OidBytes("2.16.840.1.101.3.4.3.1"), "dsa-with-sha224", kDsa, Sha224},
    {OidBytes("2.16.840.1.101.3.4.3.2"), "dsa-with-sha256", kDsa, Sha256},
    {OidBytes("2.16.840.1.101.3.4.3.3"), "dsa-with-sha384", kDsa, Sha384},
    {OidBytes("2.16.840.1.101.3.4.3.4"), "dsa-with-sha512", kDsa, Sha512},
    {OidBytes("1.2.840.113549.1.1.10"), "rsassaPss", kRsaPss},
    {OidBytes("1.2.840.113549.1.1.15"), "sha512-224WithRSAEncryption", kRsaPkcs1, Sha512_224},
    {OidBytes("1.2.840.113549.1.1.16"), "sha512-256WithRSAEncryption", kRsaPkcs1, Sha512_256},
    {OidBytes("2.16.840.1.101.3.4.3.13"), "sha3-224WithRSAEncryption", kRsaPkcs1, Sha3_224},
    {OidBytes("2.16.840.1.101.3.4.3.14"), "sha3-256WithRSAEncryption", kRsaPkcs1, Sha3_256},
    {OidBytes("2.16.840.1.101.3.4.3.15"), "sha3-384WithRSAEncryption", kRsaPkcs1, Sha3_384},
    {OidBytes("2.16.840.1.101.3.4.3.16"), "sha3-512WithRSAEncryption", kRsaPkcs1, Sha3_512},
    {OidBytes("1.3.101.112"), "Ed25519", kEd25519},
    {OidBytes("1.3.101.113"), "Ed448", kEd448},
    {kMlDsaKeys[0], "ML-DSA-44", kMlDsa<0>},
    {kMlDsaKeys[1], "ML-DSA-65", kMlDsa<1>},
    {kMlDsaKeys[2], "ML-DSA-87", kMlDsa<2>},
    {kSlhDsaKeys[0], "SLH-DSA-SHA2-128s", kSlhDsa<0>},
    {kSlhDsaKeys[1], "SLH-DSA-SHA2-128f", kSlhDsa<1>},
    {kSlhDsaKeys[2], "SLH-DSA-SHA2-192s", kSlhDsa<2>},
    {kSlhDsaKeys[3], "SLH-DSA-SHA2-192f", kSlhDsa<3>},
    {kSlhDsaKeys[4], "SLH-DSA-SHA2-256s", kSlhDsa<4>},
    {kSlhDsaKeys[5], "SLH-DSA-SHA2-256f", kSlhDsa<5>},
    {kSlhDsaKeys[6], "SLH-DSA-SHAKE-128s", kSlhDsa<6>},
    {kSlhDsaKeys[7], "SLH-DSA-SHAKE-128f", kSlhDsa<7>},
    {kSlhDsaKeys[8], "SLH-DSA-SHAKE-192s", kSlhDsa<8>},
    {kSlhDsaKeys[9], "SLH-DSA-SHAKE-192f", kSlhDsa<9>},
    {kSlhDsaKeys[10], "SLH-DSA-SHAKE-256s", kSlhDsa<10>},
    {kSlhDsaKeys[11], "SLH-DSA-SHAKE-256f", kSlhDsa<11>},
    {kSlhDsaKeys[12], "SLH-DSA-SHA2-128s-with-SHA256", kSlhDsa<12>},
    {kSlhDsaKeys[13], "SLH-DSA-SHA2-128f-with-SHA256", kSlhDsa<13>},
    {kSlhDsaKeys[14], "SLH-DSA-SHA2-192s-with-SHA512", kSlhDsa<14>},
    {kSlhDsaKeys[15], "SLH-DSA-SHA2-192f-with-SHA512", kSlhDsa<15>},
    {kSlhDsaKeys[16], "SLH-DSA-SHA2-256s-with-SHA512", kSlhDsa<16>},
    {kSlhDsaKeys[17], "SLH-DSA-SHA2-256f-with-SHA512", kSlhDsa<17>},
    {kSlhDsaKeys[18], "SLH-DSA-SHAKE-128s-with-SHAKE128", kSlhDsa<18>},
    {kSlhDsaKeys[19], "SLH-DSA-SHAKE-128f-with-SHAKE128", kSlhDsa<19>},
    {kSlhDsaKeys[20], "SLH-DSA-SHAKE-192s-with-SHAKE256", kSlhDsa<20>},
    {kSlhDsaKeys[21], "SLH-DSA-SHAKE-192f-with-SHAKE256", kSlhDsa<21>},
    {kSlhDsaKeys[22], "SLH-DSA-SHAKE-256s-with-SHAKE256", kSlhDsa<22>},
    {kSlhDsaKeys[23], "SLH-DSA-SHAKE-256f-with-SHAKE256", kSlhDsa<23>},

    {OidBytes("1.2.840.113549.1.1.4"), "md5WithRSAEncryption", kBrokenDigest},
    {OidBytes("1.3.14.3.2.3"), "md5WithRSA", kBrokenDigest},
    {OidBytes("1.2.840.113549.1.1.3"), "md4WithRSAEncryption", kBrokenDigest},
    {OidBytes("1.3.14.3.2.2"), "md4WithRSA", kBrokenDigest},
    {OidBytes("1.3.14.3.2.4"), "md4WithRSAEncryption", kBrokenDigest},
    {OidBytes("1.2.840.113549.1.1.2"), "md2WithRSAEncryption", kBrokenDigest},
};

}  // namespace

const SignatureAlgorithm* findSignatureAlgorithm(ByteView identifier, ByteView& oid,
                                                 ByteView& parameters) noexcept {
    DerReader der(identifier), inner;
    if (!der.readSequence(inner) || !inner.readOid(oid))
        return nullptr;
    parameters = inner.rest();
    for (const SignatureAlgorithm& algorithm : kAlgorithms)
        if (algorithm.oid == oid)
            return &algorithm;
    return nullptr;
}

void appendSignatureAlgorithmName(StringBuffer& out, ByteView identifier) {
    ByteView oid, parameters;
    if (const SignatureAlgorithm* known = findSignatureAlgorithm(identifier, oid, parameters))
        out.append(known->name);
    else
        appendDottedOid(out, oid);
}

}  // namespace certstore
