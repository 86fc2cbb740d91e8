#pragma once

#include <atomic>

#include "support/buffers/DataBuffer.h"
#include "support/buffers/StringBuffer.h"
#include "support/buffers/XString.h"
#include "support/log/LogBase.h"
#include "support/x509/PublicKey.h"
#include "support/x509/SignatureMemory.h"
#include "support/x509/ZorvenX509Holder.h"

// One parsed certificate, perhaps with a private key attached. It is shared: born inside a
// CertificateHolder, it lives until the last holder of it goes. A plain pointer to it is borrowed;
// whoever wants to keep it makes a holder (CertificateHolder.h).
//
// Nothing about it changes but m_certKey, which takes a private key once, and the memory of a good
// signature; so any thread may call anything here while others do. An XString or DataBuffer given
// to a getter has its content replaced, a StringBuffer is appended to; they come back empty
// (untouched) on false. What a certificate does not have is no failure and writes nothing to the
// log. Text never holds a NUL byte: it comes as \00. All operations may throw std::bad_alloc.
class X509Certificate : public ZorvenX509Holder {
public:
    X509Certificate(const X509Certificate&) = delete;
    X509Certificate& operator=(const X509Certificate&) = delete;

    // The names as one line, RFC 4514 order and escaping, ", " between parts (NameText.h). The
    // first form tells each value's string type, the others do not: there a name is one text in
    // whatever string types it is written, and an issuer's subject equals the issuer of what it
    // issued, byte for byte. An empty name is true with an empty text.
    bool getSubjectDN(XString& dn, LogBase& log) const;
    bool getSubjectDN_noTags(XString& dn, LogBase& log) const;
    bool getIssuerDN_noTags(XString& dn, LogBase& log) const;

    // One attribute of a name, by its short name in any case ("CN", "O", ...) or dotted OID; of
    // several the last encoded, which is the most specific. False when there is none.
    bool getSubjectPart(const char* part, XString& value, LogBase& log) const;
    bool getIssuerPart(const char* part, XString& value, LogBase& log) const;

    // The content octets of the serial number as encoded, in upper-case hexadecimal: a leading zero
    // byte stays, a negative number shows its two's complement.
    bool getSerialNumber(XString& serial, LogBase& log) const;

    // The first rfc822Name of the subject alternative name, else the subject's emailAddress, else
    // empty. Always true.
    bool getEmailAddress(XString& email, LogBase& log) const;

    // Key identifiers (RFC 5280 sections 4.2.1.2 and 4.2.1.1) as upper-case hexadecimal without
    // separators, alike for both. False when absent or of zero length. `keyIdText` may be null.
    bool getSubjectKeyIdentifier(StringBuffer& ski, LogBase& log) const;
    bool getAuthorityKeyIdentifier(DataBuffer& keyId, XString* keyIdText, LogBase& log) const;

    // Subject and issuer are the same text without tags. Says nothing about the signature.
    bool isIssuerSelf(LogBase& log) const;

    // Whether the signature verifies with the public key of `issuer`, and nothing else: names,
    // dates and the right to sign are not looked at. On false one error says why. A signature found
    // good is not computed again under the same key. SignatureAlgorithms.cpp lists what is known.
    bool verifyCertSignature(X509Certificate* issuer, LogBase& log) const;

    // Whether a private key is attached; with `exportableOnly`, one that may be handed out.
    bool hasPrivateKey(bool exportableOnly, LogBase& log) const;

    // The attached private key as unencrypted PKCS#8 DER; `der` is marked secure and wiped first.
    // False and silent when there is none, or when it may not be exported, which then sets
    // `notExportable`; it is false in every other case.
    bool getPrivateKeyAsDER(DataBuffer& der, bool& notExportable, LogBase& log) const;

    // The SubjectPublicKeyInfo.
    bool getPublicKeyAsDER(DataBuffer& der, LogBase& log) const;

    // The whole certificate.
    bool getDEREncodedCert(DataBuffer& der) const;

    // Attaches the private key of `key`, shared and not copied. False, with one error, when it is
    // known not to belong to this certificate, when there is none, or when one is attached already.
    bool setPrivateKeyFromObj(_zvPublicKey& key, LogBase& log);

    // Appends "RSA", "EC", "Ed25519" ..., or the dotted OID of an algorithm without a name.
    bool appendCertKeyType(StringBuffer& out, LogBase& log) const;

    // Public from birth, with a private key once one is attached.
    _zvPublicKey m_certKey;

private:
    friend class CertificateHolder;

    // The object and behind it, in the same allocation, the bytes that it keeps of `parts`. To be
    // held at once. Throws std::bad_alloc.
    static X509Certificate* create(const certstore::X509Parts& parts);

    X509Certificate(const certstore::X509Parts& parts, unsigned char* room) noexcept;
    ~X509Certificate() = default;

    // Frees what create has allocated, whose size is not that of the object.
    static void operator delete(void* block) noexcept { ::operator delete(block); }

    void addHolder() noexcept;
    void dropHolder() noexcept;

    mutable certstore::SignatureMemory m_signature;
    std::atomic<unsigned int> m_holders{0};
};
