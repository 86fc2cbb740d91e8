#include "support/x509/RsaPssParameters.h"

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/crypto/DigestOids.h"

namespace certstore {

namespace {

// A digest's AlgorithmIdentifier, its parameters NULL or absent (RFC 4055 section 2.1).
bool readDigest(DerReader& outer, DigestAlgorithm& digest) noexcept {
    DerReader inner;
    ByteView oid;
    return outer.readSequence(inner) && inner.readOid(oid) && (inner.atEnd() || inner.readNull())
        && inner.atEnd() && findDigestByOid(oid, digest);
}

bool readMaskGeneration(DerReader& outer, DigestAlgorithm& maskDigest) noexcept {
    constexpr OidBytes kMgf1("1.2.840.113549.1.1.8");
    DerReader inner;
    ByteView oid;
    return outer.readSequence(inner) && inner.readOid(oid) && kMgf1 == oid
        && readDigest(inner, maskDigest) && inner.atEnd();
}

bool readSaltSize(DerReader& outer, std::size_t& size) noexcept {
    ByteView magnitude;
    if (!outer.readUnsigned(magnitude) || magnitude.size() > sizeof(size))
        return false;
    size = 0;
    for (const unsigned char octet : magnitude)
        size = size << 8 | octet;
    return true;
}

bool readTrailerField(DerReader& outer) noexcept {
    int value = 0;
    return outer.readSmallInteger(value) && value == 1;
}

// Reads the field [number] with `read`, where it is present.
template <class Read>
bool readField(DerReader& fields, unsigned char number, Read read) noexcept {
    DerReader inner;
    if (fields.peekTag() != contextTag(number, true))
        return true;
    return fields.readContext(number, inner) && read(inner) && inner.atEnd();
}

}  // namespace

bool readRsaPssParameters(ByteView parameters, RsaPssOptions& options) noexcept {
    options = {};
    DerReader outer(parameters), fields;
    return outer.readSequence(fields) && outer.atEnd()
        && readField(fields, 0, [&](DerReader& der) { return readDigest(der, options.digest); })
        && readField(fields, 1,
                     [&](DerReader& der) { return readMaskGeneration(der, options.maskDigest); })
        && readField(fields, 2, [&](DerReader& der) { return readSaltSize(der, options.saltSize); })
        && readField(fields, 3, readTrailerField) && fields.atEnd();
}

}  // namespace certstore
