#include "support/x509/PrivateKeyCodec.h"

#include "support/asn1/DerReader.h"
#include "support/x509/KeyCodec.h"
#include "support/x509/KeyTypes.h"

namespace certstore {

namespace {

// RSAPrivateKey (RFC 8017 appendix A.1.2), as far as its public half.
bool readRsaPrivateKey(ByteView der, RsaPublicKey& key) noexcept {
    DerReader outer(der), inner;
    int version = 0;
    return outer.readSequence(inner) && outer.atEnd() && inner.readSmallInteger(version)
        && inner.readUnsigned(key.modulus) && inner.readUnsigned(key.exponent) && !inner.atEnd();
}

bool isOid(ByteView parameters) noexcept {
    return DerReader(parameters).nextIs(DerTag::Oid);
}

// The curve that the key names inside counts where the algorithm names none.
bool takeInnerCurve(ByteView inner, ByteView& parameters) noexcept {
    if (!isOid(inner))
        return true;
    if (isOid(parameters) && !equalBytes(inner, parameters))
        return false;
    parameters = inner;
    return true;
}

// ECPrivateKey (RFC 5915), whose parameters and public half may be absent.
bool readEcPrivateKey(ByteView der, PrivateKeyInfo& info) noexcept {
    DerReader outer(der), inner, parameters, bits;
    int version = 0;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSmallInteger(version)
        || !inner.read(DerTag::OctetString, info.secret))
        return false;
    if (inner.peekTag() == contextTag(0, true)
        && (!inner.readContext(0, parameters)
            || !takeInnerCurve(parameters.rest(), info.parameters)))
        return false;
    if (inner.peekTag() == contextTag(1, true)
        && (!inner.readContext(1, bits) || !bits.readBitString(info.publicBits)))
        return false;
    return inner.atEnd();
}

// The x of a DSA key, for which no document but PKCS #11 gives the form: an INTEGER.
bool readDsaPrivateKey(ByteView der, ByteView& x) noexcept {
    DerReader reader(der);
    return reader.readUnsigned(x) && reader.atEnd();
}

// CurvePrivateKey (RFC 8410 section 7).
bool readCurvePrivateKey(ByteView der, ByteView& octets) noexcept {
    DerReader reader(der);
    return reader.read(DerTag::OctetString, octets) && reader.atEnd();
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

}  // namespace

bool readPrivateKeyInfo(ByteView der, PrivateKeyInfo& info) noexcept {
    DerReader outer(der), inner;
    int version = 0;
    ByteView key;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSmallInteger(version)
        || version > 1 || !readKeyAlgorithm(inner, info.algorithm, info.parameters)
        || !inner.read(DerTag::OctetString, key) || !readTail(inner, info.publicBits))
        return false;
    switch (keyFamilyOf(info.algorithm)) {
        case KeyFamily::Rsa:
            return readRsaPrivateKey(key, info.rsa);
        case KeyFamily::Ec:
            return readEcPrivateKey(key, info);
        case KeyFamily::Dsa:
            return readDsaPrivateKey(key, info.secret);
        case KeyFamily::Ed25519:
        case KeyFamily::Ed448:
        case KeyFamily::X25519:
        case KeyFamily::X448:
            return readCurvePrivateKey(key, info.secret);
        case KeyFamily::SlhDsa:
            info.secret = key;
            break;
        case KeyFamily::Other:
            break;
    }
    return true;
}

}  // namespace certstore
