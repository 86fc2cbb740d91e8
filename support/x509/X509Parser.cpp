#include "support/x509/X509Parser.h"

#include "support/asn1/DerReader.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/X509Extensions.h"

namespace certstore {

namespace {

// One pass over one certificate. `at` notes what is about to be read, so that the notes of a read
// that fails tell where.
class Parser {
public:
    Parser(ByteView der, X509Fields& fields) noexcept : m_der(der), m_fields(fields) {}

    bool readCertificate() noexcept;
    X509ParseError where() const noexcept { return {m_field, m_offset}; }

private:
    bool readTbs(DerReader& tbs) noexcept;
    bool readVersion(DerReader& tbs) noexcept;
    bool readAlgorithm(DerReader& outer, ByteView& whole) noexcept;
    bool readName(const char* field, DerReader& tbs, ByteView& name) noexcept;
    bool readAttribute(DerReader& rdn) noexcept;
    bool readValidity(DerReader& tbs) noexcept;
    bool readTime(DerReader& validity) noexcept;
    bool readSpki(DerReader& tbs) noexcept;
    bool readUniqueId(DerReader& tbs, unsigned char number) noexcept;
    bool readExtensions(DerReader& tbs) noexcept;

    bool at(const char* field, const DerReader& reader) noexcept {
        m_field = field;
        m_offset = static_cast<std::size_t>(reader.rest().data() - m_der.data());
        return true;
    }

    ByteView m_der;
    X509Fields& m_fields;
    const char* m_field = "";
    std::size_t m_offset = 0;
};

bool Parser::readCertificate() noexcept {
    DerReader der(m_der), cert, tbs;
    unsigned int unusedBits = 0;
    const bool read = at("size", der) && m_der.size() <= kMaxCertificateSize
        && at("certificate", der) && der.readSequence(cert)
        && at("end of certificate", der) && der.atEnd()
        && at("tbsCertificate", cert) && cert.readSequence(tbs, m_fields.tbs) && readTbs(tbs)
        && at("signatureAlgorithm", cert) && readAlgorithm(cert, m_fields.signatureAlgorithm)
        && at("signatureValue", cert) && cert.readBitString(m_fields.signature, unusedBits)
        && at("end of certificate", cert) && cert.atEnd();
    m_fields.signatureHasUnusedBits = unusedBits != 0;
    return read;
}

bool Parser::readTbs(DerReader& tbs) noexcept {
    return at("version", tbs) && readVersion(tbs)
        && at("serialNumber", tbs) && tbs.read(DerTag::Integer, m_fields.serial)
        && !m_fields.serial.empty()
        && at("signature", tbs) && readAlgorithm(tbs, m_fields.tbsAlgorithm)
        && readName("issuer", tbs, m_fields.issuer)
        && at("validity", tbs) && readValidity(tbs)
        && readName("subject", tbs, m_fields.subject)
        && at("subjectPublicKeyInfo", tbs) && readSpki(tbs)
        && at("issuerUniqueID", tbs) && readUniqueId(tbs, 1)
        && at("subjectUniqueID", tbs) && readUniqueId(tbs, 2)
        && at("extensions", tbs) && readExtensions(tbs)
        && at("end of tbsCertificate", tbs) && tbs.atEnd();
}

bool Parser::readVersion(DerReader& tbs) noexcept {
    if (tbs.peekTag() != contextTag(0, true))
        return true;
    DerReader version;
    int number = 0;
    if (!tbs.readContext(0, version) || !version.readSmallInteger(number) || !version.atEnd())
        return false;
    m_fields.version = number + 1;
    return number <= 2;
}

bool Parser::readAlgorithm(DerReader& outer, ByteView& whole) noexcept {
    DerReader inner;
    ByteView oid, parameters, content;
    unsigned char tag;
    return outer.readSequence(inner, whole) && inner.readOid(oid)
        && (inner.atEnd() || inner.readAny(tag, content, parameters)) && inner.atEnd();
}

bool Parser::readName(const char* field, DerReader& tbs, ByteView& name) noexcept {
    DerReader rdns, rdn;
    if (!at(field, tbs) || !tbs.readSequence(rdns))
        return false;
    name = rdns.rest();
    while (!rdns.atEnd()) {
        if (!at(field, rdns) || !rdns.readSet(rdn) || rdn.atEnd())
            return false;
        while (!rdn.atEnd())
            if (!at(field, rdn) || !readAttribute(rdn))
                return false;
    }
    return true;
}

bool Parser::readAttribute(DerReader& rdn) noexcept {
    DerReader attribute;
    ByteView type, value, whole;
    unsigned char tag;
    return rdn.readSequence(attribute) && attribute.readOid(type)
        && attribute.readAny(tag, value, whole) && attribute.atEnd()
        && isNameValue(tag, value);
}

bool Parser::readValidity(DerReader& tbs) noexcept {
    DerReader validity;
    return tbs.readSequence(validity) && readTime(validity) && readTime(validity)
        && validity.atEnd();
}

bool Parser::readTime(DerReader& validity) noexcept {
    ByteView time;
    return validity.read(DerTag::UtcTime, time) || validity.read(DerTag::GeneralizedTime, time);
}

bool Parser::readSpki(DerReader& tbs) noexcept {
    DerReader key;
    ByteView algorithm, bits;
    unsigned int unusedBits;
    return tbs.readSequence(key, m_fields.spki) && readAlgorithm(key, algorithm)
        && key.readBitString(bits, unusedBits) && key.atEnd();
}

bool Parser::readUniqueId(DerReader& tbs, unsigned char number) noexcept {
    ByteView ignored;
    return tbs.peekTag() != contextTag(number, false)
        || tbs.read(contextTag(number, false), ignored);
}

bool Parser::readExtensions(DerReader& tbs) noexcept {
    if (tbs.peekTag() != contextTag(3, true))
        return true;
    DerReader outer, list;
    if (!tbs.readContext(3, outer) || !outer.readSequence(list) || !outer.atEnd())
        return false;
    const bool read = readX509Extensions(list, m_fields);
    at("extensions", list);
    return read;
}

}  // namespace

bool parseX509(ByteView der, X509Fields& fields, X509ParseError& error) noexcept {
    Parser parser(der, fields);
    if (parser.readCertificate())
        return true;
    error = parser.where();
    return false;
}

}  // namespace certstore
