#include "support/x509/NameAttributes.h"

#include <algorithm>
#include <array>

#include "support/asn1/Oid.h"
#include "support/buffers/StringBuffer.h"

namespace certstore {

namespace {

struct Attribute {
    std::string_view dotted;
    OidBytes oid;
    std::string_view shortName;
    std::array<std::string_view, 2> synonyms{};

    consteval Attribute(std::string_view d, std::string_view name, std::string_view also = {},
                        std::string_view alsoThat = {})
        : dotted(d), oid(d), shortName(name), synonyms{also, alsoThat} {}
};

constexpr Attribute kAttributes[] = {
    {"2.5.4.3", "CN", "commonName"},
    {"2.5.4.10", "O", "organizationName", "organization"},
    {"2.5.4.6", "C", "countryName", "country"},
    {"2.5.4.11", "OU", "organizationalUnitName", "organizationalUnit"},
    {"2.5.4.7", "L", "localityName", "locality"},
    {"2.5.4.8", "ST", "stateOrProvinceName", "S"},
    {"1.2.840.113549.1.9.1", "E", "emailAddress", "email"},
    {"0.9.2342.19200300.100.1.25", "DC", "domainComponent"},
    {"0.9.2342.19200300.100.1.1", "UID", "userId"},
    {"2.5.4.5", "SERIALNUMBER"},
    {"2.5.4.9", "STREET", "streetAddress"},
    {"2.5.4.4", "SN", "surname"},
    {"2.5.4.42", "GN", "givenName", "G"},
    {"2.5.4.12", "TITLE", "T"},
    {"2.5.4.13", "DESCRIPTION"},
    {"2.5.4.15", "BUSINESSCATEGORY"},
    {"2.5.4.17", "POSTALCODE"},
    {"2.5.4.41", "NAME"},
    {"2.5.4.43", "INITIALS"},
    {"2.5.4.44", "GENERATIONQUALIFIER"},
    {"2.5.4.46", "DNQUALIFIER"},
    {"2.5.4.65", "PSEUDONYM"},
    {"2.5.4.97", "ORGANIZATIONIDENTIFIER"},
    {"1.3.6.1.4.1.311.60.2.1.1", "JURISDICTIONL"},
    {"1.3.6.1.4.1.311.60.2.1.2", "JURISDICTIONST"},
    {"1.3.6.1.4.1.311.60.2.1.3", "JURISDICTIONC"},
};

// The rows of the types 2.5.4.n (RFC 5280 appendix A.1), which most attributes are, by n. Names are
// looked up for every attribute of every certificate.
constexpr std::array<const Attribute*, 128> makeX520Rows() {
    std::array<const Attribute*, 128> rows{};
    for (const Attribute& attribute : kAttributes)
        if (attribute.dotted.starts_with("2.5.4."))
            rows[attribute.oid.bytes[2]] = &attribute;
    return rows;
}

constexpr std::array<const Attribute*, 128> kX520Rows = makeX520Rows();

const Attribute* attributeOf(ByteView oid) noexcept {
    if (oid.size() == 3 && oid[0] == 0x55 && oid[1] == 4 && oid[2] < kX520Rows.size())
        return kX520Rows[oid[2]];
    for (const Attribute& attribute : kAttributes)
        if (attribute.oid == oid)
            return &attribute;
    return nullptr;
}

char lowerOf(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lowerOf(x) == lowerOf(y); });
}

std::string_view withoutOidPrefix(std::string_view name) noexcept {
    constexpr std::string_view kPrefix = "OID.";
    return equalIgnoringCase(name.substr(0, kPrefix.size()), kPrefix) ? name.substr(kPrefix.size())
                                                                      : name;
}

const Attribute* attributeNamed(std::string_view name) noexcept {
    for (const Attribute& attribute : kAttributes) {
        const bool synonym = std::any_of(
            attribute.synonyms.begin(), attribute.synonyms.end(), [name](std::string_view other) {
                return !other.empty() && equalIgnoringCase(other, name);
            });
        if (synonym || equalIgnoringCase(attribute.shortName, name)
            || attribute.dotted == withoutOidPrefix(name))
            return &attribute;
    }
    return nullptr;
}

}  // namespace

std::string_view attributeShortName(ByteView oid) noexcept {
    const Attribute* attribute = attributeOf(oid);
    return attribute ? attribute->shortName : std::string_view();
}

bool isAttributeNamed(ByteView oid, std::string_view name) {
    if (const Attribute* attribute = attributeNamed(name))
        return attribute->oid == oid;
    StringBuffer dotted;
    appendDottedOid(dotted, oid);
    return dotted.view() == withoutOidPrefix(name);
}

bool isSameAttributeName(std::string_view a, std::string_view b) noexcept {
    if (const Attribute* attribute = attributeNamed(a))
        return attribute == attributeNamed(b);
    return equalIgnoringCase(withoutOidPrefix(a), withoutOidPrefix(b));
}

}  // namespace certstore
