#include "support/vault/PemKeys.h"

#include <utility>

#include "support/asn1/DerReader.h"
#include "support/asn1/DerWriter.h"
#include "support/asn1/Oid.h"
#include "support/encoding/PemBody.h"
#include "support/pkcs12/BerReader.h"
#include "support/x509/PrivateKeyCodec.h"
#include "support/x509/PublicKey.h"

namespace certstore {

namespace {

constexpr OidBytes kRsaEncryption("1.2.840.113549.1.1.1");
constexpr OidBytes kEcPublicKey("1.2.840.10045.2.1");

// Four digits of base64 for three bytes of a key, and as much again for line ends, indentation and
// what encryption adds: a longer body cannot be a key that would be accepted.
constexpr std::size_t kMaxBodySize = std::size_t{_zvPublicKey::kMaxPrivateKeySize} * 3;

enum class KeyForm { Pkcs8, EncryptedPkcs8, Rsa, Ec };

struct LabelRow {
    std::string_view label;
    KeyForm form;
};

constexpr LabelRow kLabels[] = {
    {"PRIVATE KEY", KeyForm::Pkcs8},
    {"ENCRYPTED PRIVATE KEY", KeyForm::EncryptedPkcs8},
    {"RSA PRIVATE KEY", KeyForm::Rsa},
    {"EC PRIVATE KEY", KeyForm::Ec},
};

const LabelRow* findLabel(std::string_view label) noexcept {
    for (const LabelRow& row : kLabels)
        if (row.label == label)
            return &row;
    return nullptr;
}

void appendValue(DataBuffer& out, DerTag tag, ByteView content) {
    appendDer(out, static_cast<unsigned char>(tag), content);
}

// Appends a PrivateKeyInfo (RFC 5208 section 5) around `key`; `parameters` is a whole value.
void wrapKey(ByteView algorithm, ByteView parameters, ByteView key, DataBuffer& pkcs8) {
    constexpr unsigned char kVersion[] = {0};
    DataBuffer identifier, inner;
    inner.m_secure = true;
    appendValue(identifier, DerTag::Oid, algorithm);
    identifier.append(parameters);
    appendValue(inner, DerTag::Integer, kVersion);
    appendValue(inner, DerTag::Sequence, identifier.view());
    appendValue(inner, DerTag::OctetString, key);
    appendValue(pkcs8, DerTag::Sequence, inner.view());
}

void wrapRsaKey(ByteView key, DataBuffer& pkcs8) {
    constexpr unsigned char kNull[] = {static_cast<unsigned char>(DerTag::Null), 0};
    wrapKey(kRsaEncryption.view(), kNull, key, pkcs8);
}

}  // namespace

bool PemKeys::isKeyLabel(std::string_view label) noexcept {
    return findLabel(label) != nullptr;
}

bool PemKeys::fail(std::string problem) {
    m_problem = std::move(problem);
    return false;
}

bool PemKeys::read(const PemBlock& block, DataBuffer& pkcs8) {
    pkcs8.m_secure = true;
    pkcs8.secureClear();
    DataBuffer der;
    der.m_secure = true;
    if (!decode(block.body, der))
        return false;
    const LabelRow* row = findLabel(block.label);
    switch (row ? row->form : KeyForm::Pkcs8) {
        case KeyForm::Pkcs8:
            pkcs8.append(der.view());
            break;
        case KeyForm::EncryptedPkcs8:
            if (!decrypt(der.view(), pkcs8))
                return false;
            break;
        case KeyForm::Rsa:
            wrapRsaKey(der.view(), pkcs8);
            break;
        case KeyForm::Ec:
            if (!wrapEcKey(der.view(), pkcs8))
                return false;
            break;
    }
    PrivateKeyInfo info;
    return readPrivateKeyInfo(pkcs8.view(), info) || fail("malformed");
}

bool PemKeys::decode(std::string_view body, DataBuffer& der) {
    if (body.size() > kMaxBodySize)
        return fail("over the limit of key size");
    const PemBodyResult result = decodePemBody(body, der);
    return result == PemBodyResult::Good || fail(problemOf(result));
}

// That the result is a key at all shows a wrong password that the padding alone does not.
bool PemKeys::decrypt(ByteView encryptedKey, DataBuffer& pkcs8) {
    DerReader outer(encryptedKey), inner, algorithm;
    ByteView whole, content;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSequence(algorithm, whole)
        || !inner.read(DerTag::OctetString, content) || !inner.atEnd())
        return fail("malformed");
    PfxCipher cipher;
    if (!cipher.read(whole))
        return fail(cipher.problem());
    PrivateKeyInfo info;
    DataBuffer plain;
    plain.m_secure = true;
    const std::size_t forms = cipher.dependsOnForm() ? m_password.formCount() : 1;
    for (std::size_t form = 0; form < forms; ++form) {
        if (const char* limit = m_budget.charge(cipher.cost()))
            return fail(limit);
        if (cipher.decrypt(m_password, form, content, plain)
            && readBer(plain.view(), m_limits.nesting, pkcs8) == BerResult::Good
            && readPrivateKeyInfo(pkcs8.view(), info))
            return true;
        pkcs8.clear();
    }
    return fail("decryption failed");
}

// The key tells its curve in itself, and PKCS#8 outside of it.
bool PemKeys::wrapEcKey(ByteView key, DataBuffer& pkcs8) {
    DerReader outer(key), inner, parameters;
    int version = 0;
    ByteView secret, curve;
    if (!outer.readSequence(inner) || !outer.atEnd() || !inner.readSmallInteger(version)
        || !inner.read(DerTag::OctetString, secret))
        return fail("malformed");
    if (!inner.readContext(0, parameters))
        return fail("the curve is not given");
    const ByteView whole = parameters.rest();
    if (!parameters.readOid(curve) || !parameters.atEnd())
        return fail("the curve is not given by its name");
    wrapKey(kEcPublicKey.view(), whole, key, pkcs8);
    return true;
}

}  // namespace certstore
