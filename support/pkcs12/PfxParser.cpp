#include "support/pkcs12/PfxParser.h"

#include <algorithm>

#include "support/asn1/DerReader.h"
#include "support/asn1/Oid.h"
#include "support/pkcs12/BerReader.h"
#include "support/pkcs12/PfxAttributes.h"

namespace certstore {

namespace {

constexpr OidBytes kData("1.2.840.113549.1.7.1");
constexpr OidBytes kSignedData("1.2.840.113549.1.7.2");
constexpr OidBytes kEnvelopedData("1.2.840.113549.1.7.3");
constexpr OidBytes kEncryptedData("1.2.840.113549.1.7.6");
constexpr OidBytes kX509Certificate("1.2.840.113549.1.9.22.1");

enum class BagType { Key, ShroudedKey, Certificate, SafeContents };

struct BagRow {
    OidBytes oid;  // RFC 7292 section 4.2; types that are not here are skipped
    BagType type;
};

constexpr BagRow kBagRows[] = {
    {OidBytes("1.2.840.113549.1.12.10.1.1"), BagType::Key},
    {OidBytes("1.2.840.113549.1.12.10.1.2"), BagType::ShroudedKey},
    {OidBytes("1.2.840.113549.1.12.10.1.3"), BagType::Certificate},
    {OidBytes("1.2.840.113549.1.12.10.1.6"), BagType::SafeContents},
};

std::string dotted(ByteView oid) {
    StringBuffer text;
    appendDottedOid(text, oid);
    return text.getString();
}

std::unique_ptr<PfxItem> makeItem(PfxItem::Kind kind, ByteView attributes) {
    auto item = std::make_unique<PfxItem>();
    item->kind = kind;
    item->der.m_secure = true;
    readPfxAttributes(attributes, *item);
    return item;
}

// EncryptedContentInfo's content: an IMPLICIT OCTET STRING, perhaps in pieces.
bool readImplicitOctets(DerReader& der, DataBuffer& joined, ByteView& octets) {
    if (der.read(contextTag(0, false), octets))
        return true;
    DerReader pieces;
    ByteView piece;
    if (!der.readContext(0, pieces))
        return false;
    while (!pieces.atEnd()) {
        if (!pieces.read(DerTag::OctetString, piece))
            return false;
        joined.append(piece);
    }
    octets = joined.view();
    return true;
}

}  // namespace

bool PfxParser::fail(const std::string& message) {
    m_log.LogError(message.c_str());
    return false;
}

void PfxParser::note(const std::string& message) {
    if (m_log.m_verboseLogging)
        m_log.LogInfo(message.c_str());
}

std::string PfxParser::bagName(const char* kind) const {
    return std::string(kind) + " bag " + std::to_string(m_bagCount);
}

bool PfxParser::charge(const KdfCost& cost, const std::string& what) {
    const char* limit = m_budget.charge(cost);
    return !limit || fail(what + ": " + limit + ".");
}

DataBuffer& PfxParser::keptBuffer() {
    DataBuffer& buffer = m_buffers.emplace_back();
    buffer.m_secure = true;
    return buffer;
}

bool PfxParser::toDer(ByteView ber, ByteView& der, const std::string& what) {
    DataBuffer& buffer = keptBuffer();
    const BerResult result = readBer(ber, m_limits.nesting, buffer);
    der = buffer.view();
    if (result == BerResult::TooDeep)
        return fail(what + ": over the limit of nesting.");
    return result == BerResult::Good || fail(what + ": malformed.");
}

bool PfxParser::parse(ByteView pfx, const PfxPassword& password, PfxItems& items,
                      bool& macVerified) {
    if (pfx.size() > m_limits.fileSize)
        return fail("PKCS#12: over the limit of file size.");
    // All work that shows before decryption is known and allowed before the first key is derived.
    if (!readPfx(pfx) || !readAuthenticatedSafe() || !verifyMac(password, macVerified))
        return false;
    for (Safe& safe : m_safes)
        if (safe.encrypted && !openSafe(password, safe))
            return false;
    for (Safe& safe : m_safes) {
        for (Bag& bag : safe.bags) {
            if (bag.encrypted && !decryptKey(password, bag))
                return false;
            items.push_back(std::move(bag.item));
        }
    }
    return true;
}

// PFX (RFC 7292 section 4).
bool PfxParser::readPfx(ByteView pfx) {
    DataBuffer& buffer = keptBuffer();
    const BerResult result = readBer(pfx, m_limits.nesting, buffer);
    if (result == BerResult::TooDeep)
        return fail("PKCS#12: over the limit of nesting.");
    DerReader der(buffer.view()), inner, contentInfo, content;
    int version = 0;
    ByteView type;
    const bool isPfx = result == BerResult::Good && der.readSequence(inner)
        && inner.readSmallInteger(version) && inner.readSequence(contentInfo)
        && contentInfo.readOid(type) && contentInfo.readContext(0, content);
    if (!isPfx)
        return fail("Not PKCS#12.");
    if (kSignedData == type)
        return fail("PKCS#12: public-key integrity mode (signedData) is not supported.");
    if (kData != type || !content.read(DerTag::OctetString, m_authenticatedSafe)
        || !content.atEnd())
        return fail("Not PKCS#12.");
    if (version != 3)
        note("The file has another version than 3.");
    if (inner.atEnd())
        return true;
    DerReader macData;
    if (!inner.readSequence(macData) || !inner.atEnd())
        return fail("PKCS#12: MAC: malformed.");
    m_macData = macData.rest();
    if (!m_mac.read(m_macData))
        return fail("PKCS#12: MAC: " + m_mac.problem() + ".");
    return charge(m_mac.cost(), "PKCS#12: MAC");
}

bool PfxParser::readAuthenticatedSafe() {
    ByteView der;
    // Some tools write no safes at all, not even an empty list of them.
    if (m_authenticatedSafe.empty())
        return true;
    if (!toDer(m_authenticatedSafe, der, "PKCS#12: list of safes"))
        return false;
    DerReader outer(der), safes;
    if (!outer.readSequence(safes))
        return fail("PKCS#12: list of safes: malformed.");
    while (!safes.atEnd()) {
        DerReader inner;
        ByteView whole;
        if (!safes.readSequence(inner, whole))
            return fail("PKCS#12: list of safes: malformed.");
        if (m_safes.size() >= m_limits.bags)
            return fail("PKCS#12: over the limit of bags.");
        if (!readContentInfo(inner.rest(), m_safes.emplace_back()))
            return false;
    }
    return true;
}

bool PfxParser::readContentInfo(ByteView contentInfo, Safe& safe) {
    safe.name = "safe " + std::to_string(m_safes.size());
    DerReader inner(contentInfo), content;
    ByteView type, octets, der;
    if (!inner.readOid(type) || !inner.readContext(0, content) || !inner.atEnd())
        return fail(safe.name + ": malformed.");
    if (kData == type) {
        if (!content.read(DerTag::OctetString, octets))
            return fail(safe.name + ": malformed.");
        return toDer(octets, der, safe.name) && readBags(der, safe);
    }
    if (kEncryptedData == type)
        return readEncryptedData(content.rest(), safe);
    if (kEnvelopedData == type)
        return fail(safe.name + ": public-key privacy mode (envelopedData) is not supported.");
    return fail(safe.name + ": unknown content type " + dotted(type) + ".");
}

// EncryptedData (RFC 2315 section 13).
bool PfxParser::readEncryptedData(ByteView content, Safe& safe) {
    DerReader der(content), inner, info, algorithm;
    int version = 0;
    ByteView type, whole;
    const bool read = der.readSequence(inner) && inner.readSmallInteger(version)
        && inner.readSequence(info) && info.readOid(type) && info.readSequence(algorithm, whole)
        && kData == type;
    if (!read || !readImplicitOctets(info, keptBuffer(), safe.content))
        return fail(safe.name + ": malformed.");
    safe.encrypted = true;
    if (!safe.cipher.read(whole))
        return fail(safe.name + ": " + safe.cipher.problem() + ".");
    safe.name += ", " + safe.cipher.name();
    return charge(safe.cipher.cost(), safe.name);
}

// NOLINTBEGIN(misc-no-recursion): no deeper than m_limits.nesting, which readBer() has seen to

// SafeContents (RFC 7292 section 4.2). Safes in safes come no deeper than values in values.
bool PfxParser::readBags(ByteView safeContents, Safe& safe) {
    DerReader outer(safeContents), bags;
    if (!outer.readSequence(bags))
        return fail(safe.name + ": malformed.");
    while (!bags.atEnd()) {
        DerReader bag;
        if (!bags.readSequence(bag))
            return fail(safe.name + ": malformed.");
        if (++m_bagCount > m_limits.bags)
            return fail("PKCS#12: over the limit of bags.");
        if (!readBag(bag.rest(), safe))
            return false;
    }
    return true;
}

bool PfxParser::readBag(ByteView safeBag, Safe& safe) {
    DerReader bag(safeBag), content, attributes;
    ByteView type;
    if (!bag.readOid(type) || !bag.readContext(0, content))
        return fail("bag " + std::to_string(m_bagCount) + ": malformed.");
    // Attributes that are malformed name nothing, like those that are absent.
    (void)bag.readSet(attributes);
    const auto* row = std::find_if(std::begin(kBagRows), std::end(kBagRows),
                                   [type](const BagRow& known) { return known.oid == type; });
    if (row == std::end(kBagRows)) {
        note("Skipped a bag of type " + dotted(type) + ".");
        return true;
    }
    switch (row->type) {
        case BagType::Certificate:
            return readCertBag(content.rest(), attributes.rest(), safe);
        case BagType::SafeContents:
            return readBags(content.rest(), safe);
        case BagType::Key:
        case BagType::ShroudedKey:
            break;
    }
    if (++m_keyCount > m_limits.keys)
        return fail("PKCS#12: over the limit of keys.");
    return row->type == BagType::Key ? readKeyBag(content.rest(), attributes.rest(), safe)
                                     : readShroudedKey(content.rest(), attributes.rest(), safe);
}

// NOLINTEND(misc-no-recursion)

bool PfxParser::readKeyBag(ByteView content, ByteView attributes, Safe& safe) {
    Bag& bag = safe.bags.emplace_back();
    bag.item = makeItem(PfxItem::Kind::Key, attributes);
    bag.item->der.append(content);
    bag.item->bag = bagName("key");
    return true;
}

bool PfxParser::readCertBag(ByteView content, ByteView attributes, Safe& safe) {
    DerReader der(content), inner, value;
    ByteView type, certificate;
    if (!der.readSequence(inner) || !inner.readOid(type) || !inner.readContext(0, value))
        return fail(bagName("certificate") + ": malformed.");
    if (kX509Certificate != type) {
        note("Skipped a certificate of type " + dotted(type) + ".");
        return true;
    }
    if (!value.read(DerTag::OctetString, certificate))
        return fail(bagName("certificate") + ": malformed.");
    Bag& bag = safe.bags.emplace_back();
    bag.item = makeItem(PfxItem::Kind::Certificate, attributes);
    bag.item->der.append(certificate);
    bag.item->bag = bagName("certificate");
    return true;
}

// EncryptedPrivateKeyInfo (RFC 5958 section 3).
bool PfxParser::readShroudedKey(ByteView content, ByteView attributes, Safe& safe) {
    DerReader der(content), inner, algorithm;
    ByteView whole;
    Bag& bag = safe.bags.emplace_back();
    bag.name = bagName("shrouded key");
    if (!der.readSequence(inner) || !inner.readSequence(algorithm, whole)
        || !inner.read(DerTag::OctetString, bag.encryptedKey))
        return fail(bag.name + ": malformed.");
    bag.item = makeItem(PfxItem::Kind::Key, attributes);
    bag.item->bag = bag.name;
    bag.encrypted = true;
    if (!bag.cipher.read(whole))
        return fail(bag.name + ": " + bag.cipher.problem() + ".");
    bag.name += ", " + bag.cipher.name();
    return charge(bag.cipher.cost(), bag.name);
}

bool PfxParser::verifyMac(const PfxPassword& password, bool& macVerified) {
    if (m_macData.empty()) {
        note("The file has no MAC.");
        return true;
    }
    const std::size_t forms = m_mac.dependsOnForm() ? password.formCount() : 1;
    for (std::size_t form = 0; form < forms; ++form) {
        // The first try is charged with what the file declares.
        if (form != 0 && !charge(m_mac.cost(), "PKCS#12: MAC"))
            return false;
        m_workDone += m_mac.cost().work;
        if (!m_mac.verify(password, form, m_authenticatedSafe))
            continue;
        m_form = form;
        if (m_mac.dependsOnForm())
            note(std::string("MAC matches: ") + password.formName(form) + ".");
        macVerified = true;
        return true;
    }
    return fail("MAC does not match: wrong password or damaged.");
}

// Tries the form of the password that has worked so far, then the others. That the result is a
// value at all shows a wrong key that the padding alone does not.
bool PfxParser::decrypt(const PfxPassword& password, const PfxCipher& cipher,
                        const std::string& what, ByteView encrypted, DataBuffer& der) {
    DataBuffer plain;
    plain.m_secure = true;
    const std::size_t forms = cipher.dependsOnForm() ? password.formCount() : 1;
    for (std::size_t i = 0; i < forms; ++i) {
        const std::size_t form = (m_form + i) % password.formCount();
        // The first try is charged with what the file declares.
        if (i != 0 && !charge(cipher.cost(), what))
            return false;
        m_workDone += cipher.cost().work;
        if (!cipher.decrypt(password, form, encrypted, plain))
            continue;
        const BerResult result = readBer(plain.view(), m_limits.nesting, der);
        if (result == BerResult::TooDeep)
            return fail(what + ": over the limit of nesting.");
        if (result == BerResult::Malformed)
            continue;
        m_form = form;
        return true;
    }
    return fail(what + ": decryption failed.");
}

bool PfxParser::openSafe(const PfxPassword& password, Safe& safe) {
    DataBuffer& der = keptBuffer();
    return decrypt(password, safe.cipher, safe.name, safe.content, der)
        && readBags(der.view(), safe);
}

bool PfxParser::decryptKey(const PfxPassword& password, Bag& bag) {
    return decrypt(password, bag.cipher, bag.name, bag.encryptedKey, bag.item->der);
}

}  // namespace certstore
