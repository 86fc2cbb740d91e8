#pragma once

#include <cstdint>

#include "support/buffers/StringBuffer.h"
#include "support/buffers/XString.h"
#include "support/containers/ExtPtrArray.h"
#include "support/containers/StringHashMap.h"
#include "support/log/LogBase.h"
#include "support/sync/ZorvenCritSec.h"
#include "support/x509/CertificateHolder.h"

// Certificates in memory, each once under its serial/issuer key, found through four indexes.
//
// The key is the serial number in upper-case hexadecimal, ":", and the CN of the issuer (of the
// subject when self-issued; the DN without tags when there is no CN): "0A1B:Example Root".
//
// The repository is its own lock, which a thread may take again. Operations take it themselves
// unless they say "Requires". It never takes over a certificate that is passed in: it keeps holders
// of it, so the caller's claim stays the caller's. Certificates that come back are borrowed: valid
// until their entry is replaced (addCertificate) or the repository ends. Whoever shares it
// with other threads and wants to keep one holds the lock from the find until he made a
// CertificateHolder of his own.
//
// A miss is null and silent. Operations that cannot make the indexes fail with the error
// "Failed to create cert repository hash map.". All but getNumCerts may throw std::bad_alloc, also
// through the log; what was done before stays, and doing it again completes it.
class CertRepository : public ZorvenCritSec {
public:
    // Makes no index yet; the first operation that needs them does.
    CertRepository();
    ~CertRepository() override;

    // Makes the indexes that are missing. False, with an error, when one cannot be made; those made
    // before stay. Requires: this repository's lock.
    bool createHashMapsIfNeeded(LogBase& log);

    // How many additions were accepted: a certificate added twice counts twice. Takes no lock; may
    // be called at any time.
    int getNumCerts() const;

    // The certificate of the index-th accepted addition, in order; null beyond the last.
    X509Certificate* getNthRepositoryCert(unsigned int index, LogBase& log);

    // Writes every stored key as "cert", or "empty". Takes no lock; may be called at any time.
    void logCertRepository(LogBase& log);

    // Adds one certificate with all index entries. The order of the entries and what a failure
    // leaves behind are fixed: nothing is rolled back, every failure but one of memory is logged.
    //
    // When a certificate with the same key is stored: if its public key differs, the new one takes
    // its place under the key alone, with an error entry, and the result is true. If it is equal,
    // the stored one stays and takes over the new one's private key where it has none.
    // Of several certificates with one subject DN or e-mail address the first is found; with
    // one subject key identifier the last.
    bool addCertificate(X509Certificate* cert, LogBase& log);

    // Adds every certificate of `other`, in its order; both then share the certificates. False at
    // the first that cannot be added; those before it stay. Takes this lock for the whole call and
    // the other's for each certificate: two threads must not merge two repositories into each
    // other.
    bool mergeCertRepository(CertRepository& other, LogBase& log);

    // Builds the key of `cert` into `key`, replacing its content. `subjectDn` is the certificate's
    // subject DN without tags, read only when it is self-issued without a CN. False when `cert` is
    // null (silently), has no serial number or no issuer name (logged). Takes no lock and needs
    // none.
    bool constructSerialIssuerHashKey(X509Certificate* cert, XString& subjectDn, XString& key,
                                      LogBase& log);

    // The certificate stored under `key`, or null. A key that is absent and starts with "00" is
    // tried once more without those two zeros. Requires: this repository's lock, and the indexes.
    X509Certificate* crpFindBySerialIssuerHashKey(const char* key, LogBase& log);

    // The first-added certificate with this subject DN (no-tags form, unchanged), or, given as key
    // type, "," and DN, the first with both.
    X509Certificate* crpFindBySubjectDN(const char* subjectDN, LogBase& log);

    // The first-added certificate with this e-mail address in any case. `email` is lower-cased in
    // place, also for the caller.
    X509Certificate* crpFindByEmailAddr(XString& email, LogBase& log);

    // The last-added certificate with this subject key identifier, in the form that
    // X509Certificate::getSubjectKeyIdentifier writes; a blank around it finds nothing.
    X509Certificate* crpFindBySubjectKeyId(const char* subjectKeyId, LogBase& log);

    // The first certificate, in order of addition, with a private key. Walks the repository.
    X509Certificate* crpFindFirstHavingPrivateKey(LogBase& log);

    // The certificate with this serial number (hexadecimal in any case, with or without a leading
    // "00", not null) from this issuer: tried are the CN as given, the DN as given, and the CN
    // within the DN, which is logged as "sbCN". Each may be null.
    X509Certificate* crpFindCert(const char* serial, const char* issuerCN, const char* issuerDN,
                                 LogBase& log);

    // The first-added certificate whose subject DN is the issuer DN that was recorded under the key
    // of `cert` when it was added. Null when nothing was added under that key, even if the issuer
    // is stored, and for a self-issued certificate.
    X509Certificate* crpFindIssuer0(X509Certificate& cert, LogBase& log);

    // Puts `cert` in the place of the certificate stored under `key`, or under `key` without a
    // leading "00". Changes nothing else. False when there is none or `cert` is null. Requires:
    // this repository's lock, and the indexes.
    bool replaceCert(const char* key, X509Certificate* cert, LogBase& log);

    static constexpr std::uint32_t kMagic = 0x66890aff;

    // kMagic while the object lives, 0 afterwards, for whoever must tell a live one from another.
    std::uint32_t m_magic;

private:
    // One certificate on its way in.
    struct Entry {
        X509Certificate* cert;
        XString subjectDn;
        XString key;
        CertificateHolder* holder;  // what is stored under the key

        std::string_view subjectDnText() const noexcept { return subjectDn.getUtf8Sb().view(); }
        std::string_view keyText() const noexcept { return key.getUtf8Sb().view(); }
    };

    CertificateHolder* findHolder(const char* key) const;
    // The certificate to which `text` leads in one of the maps below.
    static X509Certificate* findIn(const StringHashMap& map, std::string_view text, LogBase& log);
    X509Certificate* findCandidate(const char* serial, std::string_view name, LogBase& log);

    // The same as getNthRepositoryCert, kept alive by `holder` before the lock is let go.
    X509Certificate* holdNthCert(unsigned int index, CertificateHolder& holder, LogBase& log);

    // The steps of addCertificate, in their order. Require: the lock, and the indexes.
    bool describeEntry(Entry& entry, LogBase& log);
    bool insertEntry(Entry& entry, const StringHashMap::Key& key, LogBase& log);
    bool replaceDifferentKey(Entry& entry, X509Certificate& stored, LogBase& log);
    void adoptPrivateKey(Entry& entry, X509Certificate& stored, LogBase& log);
    CertificateHolder* insertHolder(const StringHashMap::Key& key, X509Certificate* cert,
                                    const char* failure, LogBase& log);
    bool indexEntry(Entry& entry, const StringHashMap::Key& key, LogBase& log);
    bool indexSubjectKeyId(Entry& entry, LogBase& quiet, LogBase& log);
    bool indexSubjectDn(Entry& entry, LogBase& log);
    bool indexKeyTypeAndDn(Entry& entry, LogBase& quiet, LogBase& log);
    bool appendToEnumeration(Entry& entry);
    bool indexIssuerDn(Entry& entry, const StringHashMap::Key& key, LogBase& log);
    bool indexEmail(Entry& entry, LogBase& quiet, LogBase& log);

    // The keys in order of addition, one for each accepted addition.
    ExtPtrArraySb m_certKeys;
    [[maybe_unused]] bool m_constructedFlag;
    // An entry under a key is never removed. So what leads "to key" is a pointer to the holder that
    // is stored under it: what looking the key up would find at any time.
    //
    // Subject DN, and key type "," subject DN, to key. The first writer keeps an entry.
    StringHashMap* m_subjectDnToKey;
    // Key to issuer DN, of certificates that are not self-issued. The first writer keeps an entry.
    StringHashMap* m_keyToIssuerDn;
    // E-mail address as written, and lower-cased, to key. The first writer keeps an entry.
    StringHashMap* m_emailToKey;
    // Key to holder, and "SubjectKeyId:" identifier to another holder. The last writer of an
    // identifier keeps it.
    StringHashMap* m_keyToHolder;
};
