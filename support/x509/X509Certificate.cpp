#include "support/x509/X509Certificate.h"

#include <new>

#include "support/encoding/Hex.h"
#include "support/x509/DirectoryString.h"
#include "support/x509/KeyCodec.h"
#include "support/x509/NameText.h"
#include "support/x509/SignatureVerifier.h"

namespace {

bool setText(XString& out, std::string_view text) {
    out.weakClear();
    out.getUtf8Sb_rw().append(text);
    return true;
}

bool setBytes(DataBuffer& out, certstore::ByteView bytes) {
    out.clear();
    out.append(bytes);
    return true;
}

bool setNamePart(XString& out, certstore::ByteView name, const char* part) {
    out.weakClear();
    return part && certstore::findNamePart(name, part, out.getUtf8Sb_rw());
}

}  // namespace

X509Certificate* X509Certificate::create(const certstore::X509Parts& parts) {
    void* const block = ::operator new(sizeof(X509Certificate) + parts.size());
    auto* const room = static_cast<unsigned char*>(block) + sizeof(X509Certificate);
    return ::new (block) X509Certificate(parts, room);
}

X509Certificate::X509Certificate(const certstore::X509Parts& parts, unsigned char* room) noexcept
    : ZorvenX509Holder(parts, room), m_certKey(getX509Ptr()->spki()) {}

void X509Certificate::addHolder() noexcept {
    m_holders.fetch_add(1, std::memory_order_relaxed);
}

void X509Certificate::dropHolder() noexcept {
    if (m_holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

bool X509Certificate::getSubjectDN(XString& dn, LogBase&) const {
    dn.weakClear();
    certstore::appendNameText(dn.getUtf8Sb_rw(), getX509Ptr()->subject(),
                              certstore::NameForm::Tagged);
    return true;
}

bool X509Certificate::getSubjectDN_noTags(XString& dn, LogBase&) const {
    return setText(dn, getX509Ptr()->subjectText());
}

bool X509Certificate::getIssuerDN_noTags(XString& dn, LogBase&) const {
    return setText(dn, getX509Ptr()->issuerText());
}

bool X509Certificate::getSubjectPart(const char* part, XString& value, LogBase&) const {
    return setNamePart(value, getX509Ptr()->subject(), part);
}

bool X509Certificate::getIssuerPart(const char* part, XString& value, LogBase&) const {
    return setNamePart(value, getX509Ptr()->issuer(), part);
}

bool X509Certificate::getSerialNumber(XString& serial, LogBase&) const {
    serial.weakClear();
    certstore::appendHex(serial.getUtf8Sb_rw(), getX509Ptr()->serial());
    return true;
}

bool X509Certificate::getEmailAddress(XString& email, LogBase&) const {
    email.weakClear();
    const certstore::ByteView name = getX509Ptr()->emailName();
    if (name.empty())
        certstore::findNamePart(getX509Ptr()->subject(), "E", email.getUtf8Sb_rw());
    else
        certstore::appendUtf8Lossless(email.getUtf8Sb_rw(), name);
    return true;
}

bool X509Certificate::getSubjectKeyIdentifier(StringBuffer& ski, LogBase&) const {
    certstore::appendHex(ski, getX509Ptr()->subjectKeyId());
    return !getX509Ptr()->subjectKeyId().empty();
}

bool X509Certificate::getAuthorityKeyIdentifier(DataBuffer& keyId, XString* keyIdText,
                                                LogBase&) const {
    const certstore::ByteView bytes = getX509Ptr()->authorityKeyId();
    setBytes(keyId, bytes);
    if (keyIdText) {
        keyIdText->weakClear();
        certstore::appendHex(keyIdText->getUtf8Sb_rw(), bytes);
    }
    return !bytes.empty();
}

bool X509Certificate::isIssuerSelf(LogBase&) const {
    return getX509Ptr()->isSelfIssued();
}

bool X509Certificate::verifyCertSignature(X509Certificate* issuer, LogBase& log) const {
    if (!issuer) {
        log.LogError("No issuer certificate to verify the signature with.");
        return false;
    }
    const certstore::ByteView key = issuer->getX509Ptr()->spki();
    if (m_signature.isGoodUnder(key))
        return true;
    if (!certstore::verifySignature(*getX509Ptr(), key, log))
        return false;
    m_signature.rememberGood(key);
    return true;
}

bool X509Certificate::hasPrivateKey(bool exportableOnly, LogBase&) const {
    return exportableOnly ? m_certKey.isExportable() : m_certKey.isPrivateKey();
}

bool X509Certificate::getPrivateKeyAsDER(DataBuffer& der, bool& notExportable, LogBase&) const {
    return m_certKey.getPrivateKeyDer(der, notExportable);
}

bool X509Certificate::getPublicKeyAsDER(DataBuffer& der, LogBase&) const {
    return setBytes(der, getX509Ptr()->spki());
}

bool X509Certificate::getDEREncodedCert(DataBuffer& der) const {
    return setBytes(der, getX509Ptr()->der());
}

bool X509Certificate::setPrivateKeyFromObj(_zvPublicKey& key, LogBase& log) {
    return m_certKey.takePrivateKeyFrom(key, log);
}

bool X509Certificate::appendCertKeyType(StringBuffer& out, LogBase&) const {
    certstore::PublicKeyInfo info;
    // A key of odd bits, which this refuses, has a type all the same.
    (void)certstore::readPublicKeyInfo(getX509Ptr()->spki(), info);
    certstore::appendKeyTypeName(out, info.algorithm);
    return true;
}
