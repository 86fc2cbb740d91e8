#include "support/x509/X509Parser.h"

#include "support/asn1/DerReader.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/X509Extensions.h"

namespace certstore {

namespace {

// One pass over one certificate. Each step notes with `at` what it is about to read, so that the
// notes tell where the step that failed stood.
class Parser {
public:
    Parser(ByteView der, X509Fields& fields) noexcept : m_der(der), m_fields(fields) {}

    bool readCertificate() noexcept;
    X509ParseError where() const noexcept { return {m_field, m_offset}; }

private:
    bool readTbs(DerReader& cert) noexcept;
    bool readVersion(DerReader& tbs) noexcept;
    bool readSerial(DerReader& tbs) noexcept;
    bool readAlgorithm(const char* field, DerReader& outer, ByteView& whole) noexcept;
    bool readName(const char* field, DerReader& tbs, ByteView& name) noexcept;
    bool readAttribute(const char* field, DerReader& rdn) noexcept;
    bool readValidity(DerReader& tbs) noexcept;
    bool readTime(DerReader& validity) noexcept;
    bool readSpki(DerReader& tbs) noexcept;
    bool readUniqueId(const char* field, DerReader& tbs, unsigned char number) noexcept;
    bool readExtensions(DerReader& tbs) noexcept;
    bool readSignature(DerReader& cert) noexcept;
    bool readEnd(const char* field, const DerReader& reader) noexcept;

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
    DerReader der(m_der), cert;
    if (!at("size", der) || m_der.size() > kMaxCertificateSize)
        return false;
    return at("certificate", der) && der.readSequence(cert) && readEnd("end of certificate", der)
        && readTbs(cert) && readAlgorithm("signatureAlgorithm", cert, m_fields.signatureAlgorithm)
        && readSignature(cert) && readEnd("end of certificate", cert);
}

bool Parser::readTbs(DerReader& cert) noexcept {
    DerReader tbs;
    return at("tbsCertificate", cert) && cert.readSequence(tbs, m_fields.tbs) && readVersion(tbs)
        && readSerial(tbs) && readAlgorithm("signature", tbs, m_fields.tbsAlgorithm)
        && readName("issuer", tbs, m_fields.issuer) && readValidity(tbs)
        && readName("subject", tbs, m_fields.subject) && readSpki(tbs)
        && readUniqueId("issuerUniqueID", tbs, 1) && readUniqueId("subjectUniqueID", tbs, 2)
        && readExtensions(tbs) && readEnd("end of tbsCertificate", tbs);
}

bool Parser::readVersion(DerReader& tbs) noexcept {
    at("version", tbs);
    if (tbs.peekTag() != contextTag(0, true))
        return true;
    DerReader version;
    int number = 0;
    if (!tbs.readContext(0, version) || !version.readSmallInteger(number) || !version.atEnd())
        return false;
    m_fields.version = number + 1;
    return number <= 2;
}

bool Parser::readSerial(DerReader& tbs) noexcept {
    return at("serialNumber", tbs) && tbs.readInteger(m_fields.serial);
}

bool Parser::readAlgorithm(const char* field, DerReader& outer, ByteView& whole) noexcept {
    DerReader inner;
    ByteView oid, parameters, content;
    unsigned char tag = 0;
    return at(field, outer) && outer.readSequence(inner, whole) && inner.readOid(oid)
        && (inner.atEnd()
            || (inner.readAny(tag, content, parameters) && isWellFormedContent(tag, content)))
        && inner.atEnd();
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
            if (!readAttribute(field, rdn))
                return false;
    }
    return true;
}

bool Parser::readAttribute(const char* field, DerReader& rdn) noexcept {
    DerReader attribute;
    ByteView type, value, whole;
    unsigned char tag = 0;
    return at(field, rdn) && rdn.readSequence(attribute) && attribute.readOid(type)
        && attribute.readAny(tag, value, whole) && attribute.atEnd() && isNameValue(tag, value);
}

bool Parser::readValidity(DerReader& tbs) noexcept {
    DerReader validity;
    return at("validity", tbs) && tbs.readSequence(validity) && readTime(validity)
        && readTime(validity) && validity.atEnd();
}

bool Parser::readTime(DerReader& validity) noexcept {
    ByteView time;
    return validity.read(DerTag::UtcTime, time) || validity.read(DerTag::GeneralizedTime, time);
}

bool Parser::readSpki(DerReader& tbs) noexcept {
    constexpr const char* kField = "subjectPublicKeyInfo";
    DerReader key;
    ByteView algorithm, bits;
    unsigned int unusedBits = 0;
    return at(kField, tbs) && tbs.readSequence(key, m_fields.spki)
        && readAlgorithm(kField, key, algorithm) && key.readBitString(bits, unusedBits)
        && key.atEnd();
}

bool Parser::readUniqueId(const char* field, DerReader& tbs, unsigned char number) noexcept {
    const unsigned char tag = contextTag(number, false);
    ByteView bits;
    at(field, tbs);
    return tbs.peekTag() != tag
        || (tbs.read(tag, bits)
            && isWellFormedContent(static_cast<unsigned char>(DerTag::BitString), bits));
}

bool Parser::readExtensions(DerReader& tbs) noexcept {
    at("extensions", tbs);
    if (tbs.peekTag() != contextTag(3, true))
        return true;
    DerReader outer, list;
    if (!tbs.readContext(3, outer) || !outer.readSequence(list) || !outer.atEnd())
        return false;
    const bool read = readX509Extensions(list, m_fields);
    at("extensions", list);
    return read;
}

bool Parser::readSignature(DerReader& cert) noexcept {
    unsigned int unusedBits = 0;
    const bool read =
        at("signatureValue", cert) && cert.readBitString(m_fields.signature, unusedBits);
    m_fields.signatureHasUnusedBits = unusedBits != 0;
    return read;
}

bool Parser::readEnd(const char* field, const DerReader& reader) noexcept {
    return at(field, reader) && reader.atEnd();
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
