#pragma once

#include <memory>
#include <vector>

#include "support/buffers/DataBuffer.h"
#include "support/log/LogBase.h"
#include "support/pkcs12/Pkcs12Limits.h"
#include "support/x509/CertificateHolder.h"

// What one PKCS#12 file (RFC 7292; also called PFX) holds: certificates, with the private keys that
// belong to them attached, in the order of the file, and keys. Read only. Every way in which tools
// protect such files with a password is read, also the broken ones; nothing is checked but the
// file's own integrity. Used by one thread at a time.
class Pkcs12 {
public:
    // An empty container that reads within these limits. Throws std::bad_alloc.
    explicit Pkcs12(const certstore::Pkcs12Limits& limits = {});
    ~Pkcs12();

    Pkcs12(const Pkcs12&) = delete;
    Pkcs12& operator=(const Pkcs12&) = delete;

    // Parses and decrypts a file, in place of what the container held. `password` is UTF-8 (one
    // that is not is taken as Latin-1) and may be null; null and empty open the same files.
    // `macVerified` tells whether the file carried a MAC, which then matched; a file without one is
    // accepted.
    //
    // False, with the container empty and one error that names the place and the reason, when the
    // bytes are no PKCS#12 ("Not PKCS#12."), the password is wrong ("MAC does not match: wrong
    // password or damaged."), an algorithm is not known, a certificate or key inside is malformed,
    // or a limit is exceeded. Throws std::bad_alloc, with the
    // container empty or, when the log had no memory for the context, as it was.
    bool pkcs12FromDb(const DataBuffer& pfx, const char* password, bool& macVerified, LogBase& log);

    int get_NumCerts() const noexcept;

    // Borrowed: kept alive by the container, and by every holder made of it. Null out of range.
    X509Certificate* getPkcs12Cert(int index, LogBase& log) const;

    // All private keys, those without a certificate too.
    int get_NumPrivateKeys() const noexcept;

    // The key as a key object, borrowed from the container. Null out of range.
    _zvPublicKey* getPrivateKey(int index) const noexcept;

    // The name that the file gives a certificate or key, as UTF-8; empty when it gives none or the
    // index is out of range. Borrowed from the container.
    const char* getCertFriendlyName(int index) const noexcept;
    const char* getKeyFriendlyName(int index) const noexcept;

    // Forbids for good that the private keys read so far are handed out, wherever they are shared.
    void setKeysNotExportable() noexcept;

private:
    struct Cert;
    struct Key;
    struct Contents;

    certstore::Pkcs12Limits m_limits;
    std::unique_ptr<Contents> m_contents;
};
