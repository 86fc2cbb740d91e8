#pragma once

#include <cstdint>

#include "certstore/CertRepository.h"
#include "support/buffers/DataBuffer.h"
#include "support/containers/ExtPtrArray.h"
#include "support/log/LogBase.h"
#include "support/sync/RefCountedObject.h"
#include "support/x509/X509Certificate.h"

class CertMgr;
class Pkcs12;

// The certificate store: one CertRepository behind a lock, shared by its SystemCertsHolders and
// destroyed with the last of them.
//
// What it does not do. It finds and links certificates and checks signatures; it does not decide
// trust. Validity dates, CA flags, key usage, name and other constraints and revocation are not
// looked at. Certificates of strangers do not belong in a long-lived store: they can displace
// entries (a subject key identifier belongs to the last that came with it) and
// take names (a subject DN belongs to the first). Check what comes from outside in a store of its
// own.
//
// Lock. The store is its own lock (CritSecExitor), which a thread may take again. Every operation
// takes it for the whole call unless it says otherwise, then the repository's within: always in
// this order. Two threads must not merge two stores into each other at the same time. What else
// threads have to know, also about logs, fork and signals, is in docs/threads.md.
//
// Lifetime. A certificate passed in stays the caller's too. Certificates that come back are
// borrowed from the store: valid until their entry is replaced or the store ends. Threads
// that share a store and want to keep one hold the store's lock from the find until they made a
// CertificateHolder of it.
//
// Results. A miss is null or false and writes no entry unless the operation says so. No operation
// throws on bad input. All but createNewRcObject may throw std::bad_alloc: what was done before
// stays, nothing is handed over, and doing it again completes it. A log must not call the
// store it logs for.
class SystemCerts : public RefCountedObject {
public:
    // An empty store without references. Only one on the heap may be given to a holder, which
    // deletes it in the end.
    SystemCerts();
    ~SystemCerts() override;

    // The same on the heap: the first incRefCount makes it the caller's. Null when it cannot be
    // made.
    static SystemCerts* createNewRcObject() noexcept;

    // --- Filling (SystemCerts.cpp, SystemCertsSources.cpp)

    // Adds every certificate of `other`, in its order; the stores then share them. False at the
    // first that cannot be added; those before it stay. Merging a store into itself is true and
    // does nothing. Takes this store's lock, and of the other store only the repository's.
    bool mergeSysCerts(SystemCerts& other, LogBase& log);

    // Adds one certificate: see CertRepository::addCertificate for what happens to duplicates.
    bool addCertificate(X509Certificate* cert, LogBase& log);

    // Parses one DER certificate (X.509 v1 to v3, at most 1 MiB) and adds it. False when the bytes
    // are none (one error names the field and byte) or it cannot be added.
    bool addCertDer(DataBuffer& der, LogBase& log);

    // Adds every certificate of a parsed container, with the private keys attached there.
    // `certOut`, unless null, receives a new holder, the caller's: of the first certificate with a
    // private key, else of the first; null when there is none. False, with an error, at the first
    // that cannot be added: those before it stay, and `certOut` is null.
    bool addPkcs12(Pkcs12& pkcs12, CertificateHolder** certOut, LogBase& log);

    // Parses a PKCS#12 file (Pkcs12.h: limits, passwords, errors) and adds what it holds, as above.
    // `numPrivateKeys` becomes the number of its private keys. Empty bytes are false without an
    // entry, and leave `certOut` as it was. The store is locked while the file is decrypted.
    bool addPfxSource(const DataBuffer& pfx, const char* password, CertificateHolder** certOut,
                      int& numPrivateKeys, LogBase& log);

    // Adds every certificate of a vault. Always true: those that cannot be added are passed over.
    bool addCertVault(CertMgr& vault, LogBase& log);

    // Writes the keys of all certificates into the log. Takes no lock.
    void logInMemoryRepository(LogBase& log);

    // --- Trusted roots on demand (SystemCertsTrustedRoots.cpp)

    // Reads the operating system's CA bundle into SysTrustedRoots unless that holds roots already
    // or one of the two settings (Settings.h) forbids it. Silent, also when the file cannot be
    // read: then the next call tries again. Takes no lock.
    void checkLoadSystemCaCerts(LogBase& log);

    // Adds the trusted root with this subject DN (no-tags form): the application's first, of
    // those one with this key type before others, then the system's. `keyType` may be null. True
    // when one was found and added; false, silently, when there is none.
    bool addFromTrustedRootsBySubjectDN_noTags(const char* keyType, const char* subjectDN,
                                               LogBase& log);

    // The same by subject key identifier (upper-case hexadecimal). Null is false, without lock.
    bool addFromTrustedRootsBySki(const char* subjectKeyId, LogBase& log);

    // --- Issuers and chains (SystemCertsIssuer.cpp, SystemCertsChain.cpp)

    // The issuer of `cert`: by its authority key identifier; by its issuer DN, when `cert` itself
    // is in the store; from the trusted roots, by identifier and then by DN, which adds the root to
    // the store. Null for a self-issued certificate and when there is none. A match by identifier
    // is taken as it is: neither names nor signatures are compared. The bool has no effect.
    X509Certificate* sysCertsFindIssuer(X509Certificate& cert, bool unused, LogBase& log);

    // Walks from `cert` up through its issuers to a self-issued certificate and appends a new
    // CertificateHolder for each member to `certChain`, which owns them and is not cleared.
    //
    // Add `cert` to the store first: an issuer by DN is only found for a certificate that the store
    // knows; without that, key identifiers alone link the chain.
    //
    // `includeRoot`: append the self-issued end too. `skipSigVerify`: check no signature; otherwise
    // every member's must verify with its issuer's key, the root's with its own.
    // `reachedRoot` becomes true when the walk ended at a self-issued certificate: that it exists,
    // not that anyone trusts it. Compare it with what you trust.
    //
    // True when the walk ended at a root or at a certificate whose issuer is missing, which
    // `reachedRoot` tells apart. False, with one error and `reachedRoot` false, when a signature
    // does not verify, a subject DN comes round again, or there are more than 32 members; the
    // members before that stay in `certChain`. The walk follows one path: the certificate that
    // sysCertsFindIssuer gives, of several with one name the first.
    bool buildCertChain(X509Certificate& cert, bool includeRoot, bool skipSigVerify,
                        ExtPtrArray& certChain, bool& reachedRoot, LogBase& log);

    // --- Finders (SystemCertsLookups.cpp)

    // By subject DN (no-tags form, unchanged); a trusted root with that DN is added when the store
    // has none. An empty DN finds nothing. The other two arguments have no effect.
    X509Certificate* findBySubjectDN2(XString& subjectDN, XString& unused, bool unusedFlag,
                                      LogBase& log);
    // The same; the certificate's lower-level object, borrowed from the certificate.
    const certstore::X509* findBySubjectDN_x509(XString& subjectDN, XString& unused,
                                                bool unusedFlag, LogBase& log);

    // These two find nothing; they are there for callers that have them.
    X509Certificate* findBySubjectOid(XString& oid, XString& value, bool unusedFlag, LogBase& log);
    X509Certificate* findBySubjectPart(const char* partName, XString& value, bool unusedFlag,
                                       LogBase& log);

    // By e-mail address, in any case.
    X509Certificate* findByEmailAddr(const char* emailAddr, bool unusedFlag, LogBase& log);

    // By subject key identifier, upper-case hexadecimal without blanks.
    X509Certificate* findBySubjectKeyId(const char* subjectKeyId, LogBase& log);

    // By serial number (hexadecimal, not null) and issuer, given by CN or DN or both; logs
    // "serialNum" and "issuerCN". See CertRepository::crpFindCert.
    X509Certificate* findCertificate(const char* serialNum, const char* issuerCN,
                                     const char* issuerDN, LogBase& log);
    // The same; the certificate's lower-level object, borrowed from the certificate.
    const certstore::X509* findX509(const char* serialNum, const char* issuerCN,
                                    const char* issuerDN, LogBase& log);

    // --- Private keys (SystemCertsPrivateKeys.cpp)

    // Each hands out the private key of a certificate as unencrypted PKCS#8 DER, and, unless
    // `certDer` is null, the certificate. `privKeyDer` is marked secure and wiped on entry,
    // whatever comes of it. `keyNotExportable` tells that there is a key that may not be handed
    // out. False when there is no such certificate or key, or it may not be exported. When only the
    // certificate cannot be given, the key stays in `privKeyDer`.
    bool findPrivateKeyBySubjectKeyId(const char* subjectKeyId, DataBuffer& privKeyDer,
                                      DataBuffer* certDer, bool& keyNotExportable, LogBase& log);
    bool findPrivateKey(const char* serialNum, const char* issuerCN, const char* issuerDN,
                        DataBuffer& privKeyDer, DataBuffer* certDer, bool& keyNotExportable,
                        LogBase& log);
    // Of the first certificate, in order of addition, with a private key; if that one may not be
    // exported, no later one is tried.
    bool findFirstPrivateKeyInRepos(DataBuffer& privKeyDer, DataBuffer* certDer,
                                    bool& keyNotExportable, LogBase& log);

    static constexpr std::uint32_t kMagic = 0x522b9cf2;

    // kMagic while the object lives, 0 afterwards, for whoever must tell a live one from another.
    std::uint32_t m_magic;

private:
    // Parses a root and adds it. False when it does not parse; `added` tells the rest.
    bool addRootDer(const DataBuffer& der, bool& added, LogBase& log);
    bool deliverKeyAndCert(X509Certificate& cert, DataBuffer& privKeyDer, DataBuffer* certDer,
                           bool& keyNotExportable, const char* certFailure, LogBase& log);

    CertRepository m_certRepository;
};

// Keeps one store alive. Starts with a fresh, empty one; two holders share a store when one is set
// to the other's. A holder is used by one thread at a time; holders that share a store by any. Only
// merging may throw std::bad_alloc.
class SystemCertsHolder {
public:
    SystemCertsHolder();
    virtual ~SystemCertsHolder();

    SystemCertsHolder(const SystemCertsHolder&) = delete;
    SystemCertsHolder& operator=(const SystemCertsHolder&) = delete;

    // Borrowed: valid while some holder refers to it. Null only when a store could not be made.
    SystemCerts* getSystemCertsPtr() const noexcept;

    // Shares this store, which lives on the heap, from now on and lets the former one go. Null
    // changes nothing.
    void setSystemCerts(SystemCerts* sysCerts);

    // Leaves the store, which other holders keep, and starts over with a fresh, empty one.
    void clearSysCerts();

    // Adds the other holder's certificates to this one's store: SystemCerts::mergeSysCerts. True,
    // without work, for the same holder, the same store, or one without a store.
    bool mergeSysCerts(SystemCertsHolder& other, LogBase& log);

private:
    void makeStore() noexcept;
    void releaseStore() noexcept;

    SystemCerts* m_sysCerts;
};
