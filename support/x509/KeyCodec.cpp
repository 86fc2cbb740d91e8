#include "support/x509/KeyCodec.h"

#include <bit>
#include <string>

#include "support/asn1/Oid.h"
#include "support/x509/KeyTypes.h"
#include "support/x509/NamedCurves.h"

namespace certstore {

namespace {

// Appends the bits of an unsigned number without zeros in front; nothing for an empty one.
void appendSize(StringBuffer& out, ByteView number) {
    if (number.empty())
        return;
    const std::size_t bits =
        number.size() * 8 - static_cast<std::size_t>(std::countl_zero(number[0]));
    out.appendChar(' ');
    out.append(std::to_string(bits));
}

// Appends the name of the curve, or its dotted OID; nothing for one that is given otherwise.
void appendCurve(StringBuffer& out, ByteView parameters) {
    DerReader der(parameters);
    ByteView oid;
    if (!der.readOid(oid))
        return;
    out.appendChar(' ');
    if (const NamedCurve* curve = findNamedCurve(parameters))
        out.append(curve->name);
    else
        appendDottedOid(out, oid);
}

}  // namespace

bool readPublicKeyInfo(ByteView spki, PublicKeyInfo& info) noexcept {
    DerReader outer(spki), inner;
    return outer.readSequence(inner) && outer.atEnd()
        && readKeyAlgorithm(inner, info.algorithm, info.parameters)
        && inner.readBitString(info.bits) && inner.atEnd();
}

bool readKeyAlgorithm(DerReader& outer, ByteView& algorithm, ByteView& parameters) noexcept {
    DerReader inner;
    ByteView content;
    unsigned char tag = 0;
    return outer.readSequence(inner) && inner.readOid(algorithm)
        && (inner.atEnd() || inner.readAny(tag, content, parameters)) && inner.atEnd();
}

bool readRsaPublicKey(ByteView der, RsaPublicKey& key) noexcept {
    DerReader outer(der), inner;
    return outer.readSequence(inner) && outer.atEnd() && inner.readUnsigned(key.modulus)
        && inner.readUnsigned(key.exponent) && inner.atEnd();
}

bool readDsaDomain(ByteView parameters, DsaDomain& domain) noexcept {
    DerReader outer(parameters), inner;
    return outer.readSequence(inner) && outer.atEnd() && inner.readUnsigned(domain.p)
        && inner.readUnsigned(domain.q) && inner.readUnsigned(domain.g) && inner.atEnd();
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
    DsaDomain dsa;
    switch (keyFamilyOf(info.algorithm)) {
        case KeyFamily::Rsa:
            if (readRsaPublicKey(info.bits, rsa))
                appendSize(out, rsa.modulus);
            break;
        case KeyFamily::Dsa:
            if (readDsaDomain(info.parameters, dsa))
                appendSize(out, dsa.p);
            break;
        case KeyFamily::Ec:
            appendCurve(out, info.parameters);
            break;
        default:
            break;
    }
}

}  // namespace certstore
