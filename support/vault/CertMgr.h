#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "support/base/ZorvenObject.h"
#include "support/buffers/DataBuffer.h"
#include "support/containers/ExtPtrArray.h"
#include "support/encoding/Pem.h"
#include "support/log/LogBase.h"
#include "support/pkcs12/Pkcs12Limits.h"
#include "support/x509/CertificateHolder.h"

namespace certstore {
class PemKeys;
}

// A certificate vault: certificates with or without private keys, collected by an application to be
// put into a store with SystemCerts::addCertVault. Used by one thread at a time.
//
// A private key is attached to every certificate that has its public key, whichever of the two
// comes first and from whatever source, unless that certificate has a key already. Certificates are
// shared with those who took holders of them: a key that comes later reaches them too. All
// operations may throw std::bad_alloc.
class CertMgr {
public:
    // An empty vault. The limits hold for each PEM text and each PKCS#12 file that it reads, that
    // of the number of keys for all that PEM texts bring.
    explicit CertMgr(const certstore::Pkcs12Limits& limits = {});
    ~CertMgr();

    CertMgr(const CertMgr&) = delete;
    CertMgr& operator=(const CertMgr&) = delete;

    // Adds one DER certificate. False, with one error, when the bytes are none.
    bool addCertDer(const DataBuffer& der, LogBase& log);

    // Adds the certificates and private keys of a PEM text of at most 64 MiB, in any order:
    // CERTIFICATE (also under its older labels), PRIVATE KEY, ENCRYPTED PRIVATE KEY (with
    // `password`, UTF-8, which may be null), and RSA PRIVATE KEY and EC PRIVATE KEY, these two
    // unencrypted. Other blocks are passed over.
    //
    // A key whose public half is neither in its encoding nor computed (see _zvPublicKey), as with
    // ML-DSA keys, goes to the certificate directly before it in the text, else to the one directly
    // behind it, provided that nothing speaks against it and that one has no key. Blocks passed
    // over do not count as between.
    //
    // A block that cannot be read is left out, with one error that tells its number, label and why:
    // "PEM block 2, ENCRYPTED PRIVATE KEY: decryption failed."; the others are added, and the
    // result is false. False also, with an error, when there is nothing to add and when the text or
    // the number of its blocks is over a limit; what stands before the limit has been added.
    bool addPem(std::string_view pem, const char* password, LogBase& log);

    // Adds the certificates and keys of a PKCS#12 file (Pkcs12.h), with the keys attached as there.
    // False, logged there, when it cannot be read: then nothing is added.
    bool addPfx(const DataBuffer& pfx, const char* password, LogBase& log);

    int getNumCerts() const noexcept;

    // A new holder of the index-th certificate, in order of addition, which the caller owns. Null
    // out of range.
    CertificateHolder* getNthCert(int index, LogBase& log) const;

    // Forbids for good that the private keys added so far are handed out, wherever they are shared.
    void setKeysNotExportable() noexcept;

private:
    struct Key;
    struct PemItem;

    X509Certificate& certAt(int index, LogBase& log) const;
    X509Certificate* addCert(ZorvenOwner<CertificateHolder> holder, LogBase& log);
    Key* addKey(std::unique_ptr<Key> added, LogBase& log);
    bool addPemBlocks(std::string_view pem, const char* password, std::vector<PemItem>& items,
                      LogBase& log);
    PemItem addPemBlock(const certstore::PemBlock& block, certstore::PemKeys& keys, LogBase& log);
    X509Certificate* addPemCert(const certstore::PemBlock& block, LogBase& log);
    Key* addPemKey(const certstore::PemBlock& block, certstore::PemKeys& keys, LogBase& log);

    certstore::Pkcs12Limits m_limits;
    ExtPtrArray m_certs;  // of CertificateHolder
    // All keys: a certificate that comes later, as a renewal does, may have one of them too.
    std::vector<std::unique_ptr<Key>> m_keys;
};
