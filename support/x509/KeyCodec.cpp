#include "support/x509/KeyCodec.h"

#include <bit>
#include <string>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"

namespace certstore {

namespace {

enum class KeyFamily { Rsa, Ec, Other };

struct KeyType {
    OidBytes oid;
    std::string_view name;
    KeyFamily family = KeyFamily::Other;
};

constexpr KeyType kKeyTypes[] = {
    {OidBytes("1.2.840.113549.1.1.1"), "RSA", KeyFamily::Rsa},
    {OidBytes("1.2.840.10045.2.1"), "EC", KeyFamily::Ec},
    {OidBytes("1.2.840.113549.1.1.10"), "RSASSA-PSS", KeyFamily::Rsa},
    {OidBytes("1.2.840.10040.4.1"), "DSA"},
    {OidBytes("1.3.101.110"), "X25519"},
    {OidBytes("1.3.101.111"), "X448"},
    {OidBytes("1.3.101.112"), "Ed25519"},
    {OidBytes("1.3.101.113"), "Ed448"},
    {OidBytes("2.16.840.1.101.3.4.3.17"), "ML-DSA-44"},
    {OidBytes("2.16.840.1.101.3.4.3.18"), "ML-DSA-65"},
    {OidBytes("2.16.840.1.101.3.4.3.19"), "ML-DSA-87"},
};

struct CurveName {
    OidBytes oid;
    std::string_view name;
};

constexpr CurveName kCurveNames[] = {
    {OidBytes("1.2.840.10045.3.1.7"), "P-256"},
    {OidBytes("1.3.132.0.34"), "P-384"},
    {OidBytes("1.3.132.0.35"), "P-521"},
};

const KeyType* findKeyType(ByteView algorithm) noexcept {
    for (const KeyType& type : kKeyTypes)
        if (type.oid == algorithm)
            return &type;
    return nullptr;
}

KeyFamily familyOf(ByteView algorithm) noexcept {
    const KeyType* type = findKeyType(algorithm);
    return type ? type->family : KeyFamily::Other;
}

bool readAlgorithm(DerReader& outer, ByteView& algorithm, ByteView& parameters) noexcept {
    DerReader inner;
    ByteView content;
    unsigned char tag;
    return outer.readSequence(inner) && inner.readOid(algorithm)
        && (inner.atEnd() || inner.readAny(tag, content, parameters)) && inner.atEnd();
}

// RSAPrivateKey (RFC 8017 appendix A.1.2), as far as its public half.
bool readRsaPrivateKey(ByteView der, RsaPublicKey& key) noexcept {
    DerReader outer(der), inner;
    int version = 0;
    return outer.readSequence(inner) && outer.atEnd() && inner.readSmallInteger(version)
        && inner.readUnsigned(key.modulus) && inner.readUnsigned(key.exponent) && !inner.atEnd();
}

// ECPrivateKey (RFC 5915), whose public half may be absent.
bool readEcPrivateKey(ByteView der, ByteView& publicBits) noexcept {
    DerReader outer(der), inner, parameters, bits;
    int version = 0;
    ByteView secret;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSmallInteger(version)
        || !inner.read(DerTag::OctetString, secret))
        return false;
    if (inner.peekTag() == contextTag(0, true) && !inner.readContext(0, parameters))
        return false;
    if (inner.peekTag() == contextTag(1, true)
        && (!inner.readContext(1, bits) || !bits.readBitString(publicBits)))
        return false;
    return inner.atEnd();
}

// The attributes [0] and the public key [1] that may follow the key (RFC 5958 section 2).
bool readTail(DerReader& inner, ByteView& publicBits) noexcept {
    DerReader attributes;
    ByteView bits;
    if (inner.peekTag() == contextTag(0, true) && !inner.readContext(0, attributes))
        return false;
    if (inner.peekTag() == contextTag(1, false)) {
        if (!inner.read(contextTag(1, false), bits) || bits.empty() || bits[0] != 0)
            return false;
        publicBits = bits.subspan(1);
    }
    return inner.atEnd();
}

// A point as SEC 1 section 2.3.3 encodes it: its x, and of its y as much as the form holds.
struct PointParts {
    ByteView x, y;
    bool yIsOdd = false;
};

bool splitPoint(ByteView bits, PointParts& parts) noexcept {
    if (bits.size() < 2)
        return false;
    const ByteView coordinates = bits.subspan(1);
    const bool compressed = bits[0] == 2 || bits[0] == 3;
    if (!compressed && (bits[0] != 4 || coordinates.size() % 2 != 0))
        return false;
    const std::size_t size = compressed ? coordinates.size() : coordinates.size() / 2;
    parts = {coordinates.first(size), coordinates.subspan(size), (bits.back() & 1) != 0};
    if (compressed)
        parts.yIsOdd = bits[0] == 3;
    return true;
}

KeyMatch verdict(bool same) noexcept {
    return same ? KeyMatch::Same : KeyMatch::Different;
}

KeyMatch matchPoints(ByteView a, ByteView b) noexcept {
    PointParts first, second;
    if (!splitPoint(a, first) || !splitPoint(b, second))
        return KeyMatch::Unknown;
    const bool sameY = first.y.empty() || second.y.empty() ? first.yIsOdd == second.yIsOdd
                                                           : equalBytes(first.y, second.y);
    return verdict(equalBytes(first.x, second.x) && sameY);
}

KeyMatch matchRsa(const RsaPublicKey& key, ByteView publicBits) noexcept {
    RsaPublicKey other;
    return verdict(readRsaPublicKey(publicBits, other) && equalBytes(key.modulus, other.modulus)
                   && equalBytes(key.exponent, other.exponent));
}

}  // namespace

bool readPublicKeyInfo(ByteView spki, PublicKeyInfo& info) noexcept {
    DerReader outer(spki), inner;
    return outer.readSequence(inner) && outer.atEnd()
        && readAlgorithm(inner, info.algorithm, info.parameters) && inner.readBitString(info.bits)
        && inner.atEnd();
}

bool readRsaPublicKey(ByteView der, RsaPublicKey& key) noexcept {
    DerReader outer(der), inner;
    return outer.readSequence(inner) && outer.atEnd() && inner.readUnsigned(key.modulus)
        && inner.readUnsigned(key.exponent) && inner.atEnd();
}

void appendKeyTypeName(StringBuffer& out, ByteView algorithm) {
    if (const KeyType* type = findKeyType(algorithm))
        out.append(type->name);
    else
        appendDottedOid(out, algorithm);
}

void appendKeyDescription(StringBuffer& out, const PublicKeyInfo& info) {
    appendKeyTypeName(out, info.algorithm);
    RsaPublicKey rsa;
    if (familyOf(info.algorithm) == KeyFamily::Rsa && readRsaPublicKey(info.bits, rsa)
        && !rsa.modulus.empty()) {
        const std::size_t bits =
            rsa.modulus.size() * 8 - static_cast<std::size_t>(std::countl_zero(rsa.modulus[0]));
        out.append(" " + std::to_string(bits));
    }
    DerReader parameters(info.parameters);
    ByteView curve;
    if (familyOf(info.algorithm) != KeyFamily::Ec || !parameters.readOid(curve))
        return;
    out.appendChar(' ');
    for (const CurveName& row : kCurveNames) {
        if (row.oid == curve) {
            out.append(row.name);
            return;
        }
    }
    appendDottedOid(out, curve);
}

bool readPrivateKeyInfo(ByteView der, PrivateKeyInfo& info) noexcept {
    DerReader outer(der), inner;
    int version = 0;
    ByteView key;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSmallInteger(version)
        || version > 1 || !readAlgorithm(inner, info.algorithm, info.parameters)
        || !inner.read(DerTag::OctetString, key) || !readTail(inner, info.publicBits))
        return false;
    switch (familyOf(info.algorithm)) {
        case KeyFamily::Rsa:
            return readRsaPrivateKey(key, info.rsa);
        case KeyFamily::Ec:
            return readEcPrivateKey(key, info.publicBits);
        case KeyFamily::Other:
            break;
    }
    return true;
}

KeyMatch matchKeys(const PrivateKeyInfo& privateKey, const PublicKeyInfo& publicKey) noexcept {
    const KeyFamily family = familyOf(privateKey.algorithm);
    if (family != familyOf(publicKey.algorithm))
        return KeyMatch::Different;
    if (family == KeyFamily::Rsa)
        return matchRsa(privateKey.rsa, publicKey.bits);
    if (!equalBytes(privateKey.algorithm, publicKey.algorithm))
        return KeyMatch::Different;
    const bool sameParameters = equalBytes(privateKey.parameters, publicKey.parameters);
    if (family == KeyFamily::Ec && !privateKey.parameters.empty() && !sameParameters)
        return KeyMatch::Different;
    if (privateKey.publicBits.empty())
        return KeyMatch::Unknown;
    return family == KeyFamily::Ec ? matchPoints(privateKey.publicBits, publicKey.bits)
                                   : verdict(equalBytes(privateKey.publicBits, publicKey.bits));
}

}  // namespace certstore
