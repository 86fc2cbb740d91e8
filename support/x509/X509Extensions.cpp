#include "support/x509/X509Extensions.h"

#include <array>

#include "support/asn1/Oid.h"

namespace certstore {

namespace {

void readSubjectKeyId(ByteView value, X509Fields& fields) noexcept {
    DerReader der(value);
    ByteView keyId;
    if (der.read(DerTag::OctetString, keyId) && der.atEnd())
        fields.subjectKeyId = keyId;
}

void readAuthorityKeyId(ByteView value, X509Fields& fields) noexcept {
    DerReader der(value), inner;
    ByteView keyId, ignored;
    if (!der.readSequence(inner) || !der.atEnd() || !inner.read(contextTag(0, false), keyId))
        return;
    // authorityCertIssuer and authorityCertSerialNumber, each of which may be absent.
    (void)inner.read(contextTag(1, true), ignored);
    (void)inner.read(contextTag(2, false), ignored);
    if (inner.atEnd())
        fields.authorityKeyId = keyId;
}

// [0] to [8], of which otherName, x400Address, directoryName and ediPartyName are constructed.
constexpr bool isGeneralNameTag(unsigned char tag) noexcept {
    constexpr unsigned int kConstructed = 1U << 0 | 1U << 3 | 1U << 4 | 1U << 5;
    const unsigned int number = tag & 0x1f;
    return number <= 8 && tag == contextTag(tag & 0x1f, (kConstructed >> number & 1) != 0);
}

void readSubjectAltName(ByteView value, X509Fields& fields) noexcept {
    constexpr unsigned char kRfc822Name = contextTag(1, false);
    DerReader der(value), names;
    if (!der.readSequence(names) || !der.atEnd())
        return;
    ByteView email;
    while (!names.atEnd()) {
        unsigned char tag = 0;
        ByteView content, whole;
        if (!names.readAny(tag, content, whole) || !isGeneralNameTag(tag))
            return;
        if (tag == kRfc822Name && email.empty())
            email = content;
    }
    fields.emailName = email;
}

struct KnownExtension {
    OidBytes oid;
    void (*read)(ByteView value, X509Fields& fields) noexcept;
    ByteView X509Fields::*target;
};

constexpr std::array<KnownExtension, 3> kKnownExtensions{{
    {OidBytes("2.5.29.14"), readSubjectKeyId, &X509Fields::subjectKeyId},
    {OidBytes("2.5.29.35"), readAuthorityKeyId, &X509Fields::authorityKeyId},
    {OidBytes("2.5.29.17"), readSubjectAltName, &X509Fields::emailName},
}};

bool readExtension(DerReader& list, ByteView& oid, ByteView& value) noexcept {
    DerReader ahead = list, extension;
    bool critical = false;
    if (!ahead.readSequence(extension) || !extension.readOid(oid))
        return false;
    if (extension.nextIs(DerTag::Boolean) && !extension.readBoolean(critical))
        return false;
    if (!extension.read(DerTag::OctetString, value) || !extension.atEnd())
        return false;
    list = ahead;
    return true;
}

}  // namespace

bool readX509Extensions(DerReader& list, X509Fields& fields) noexcept {
    std::array<int, kKnownExtensions.size()> seen{};
    while (!list.atEnd()) {
        ByteView oid, value;
        if (!readExtension(list, oid, value))
            return false;
        for (std::size_t i = 0; i < kKnownExtensions.size(); ++i) {
            const KnownExtension& known = kKnownExtensions[i];
            if (known.oid != oid)
                continue;
            if (++seen[i] == 1)
                known.read(value, fields);
            else
                fields.*known.target = {};
        }
    }
    return true;
}

}  // namespace certstore
