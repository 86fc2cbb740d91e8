#pragma once

#include <atomic>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"
#include "support/log/LogBase.h"

namespace certstore {
class PrivateKey;
enum class KeyMatch;
}  // namespace certstore

// The key that travels with a certificate: nothing, a public key, or a private key. It becomes
// private once, and then stays so with that key: of several that load or attach one at the same
// time the first wins. May be read by any thread meanwhile. What is not noexcept may throw
// std::bad_alloc, and has then changed nothing but a buffer that it fills.
class _zvPublicKey {
public:
    // An empty key, to load a private key into.
    _zvPublicKey() noexcept = default;
    // A public key: SubjectPublicKeyInfo DER, which the caller keeps alive as long as this object.
    explicit _zvPublicKey(certstore::ByteView spki) noexcept : m_spki(spki) {}
    ~_zvPublicKey();

    _zvPublicKey(const _zvPublicKey&) = delete;
    _zvPublicKey& operator=(const _zvPublicKey&) = delete;

    // No key is held.
    bool isEmpty() const noexcept;
    bool isPrivateKey() const noexcept;
    // A private key is held and may be handed out.
    bool isExportable() const noexcept;

    // Loads an unencrypted PKCS#8 private key (RFC 5208, RFC 5958) of any algorithm, at most
    // kMaxPrivateKeySize bytes; kept in memory that is wiped when its last user goes. Its public
    // half is computed here, once, for keys of EC on named curves, DSA, Ed25519, Ed448, X25519 and
    // X448, and taken from the secret of SLH-DSA keys, which ends with it; of other keys it is the
    // one in the encoding, if any. False, logged, when the key is malformed, out of range for its
    // kind, or holds another public half than the one computed; when its public half is known to be
    // another than the public key held here; or when a private key is held already. Throws
    // std::bad_alloc.
    bool loadPrivateKeyDer(const DataBuffer& pkcs8, LogBase& log);

    // Takes a share in the private key that `other` holds, with its not-exportable mark. False, and
    // logged, for the same reasons or when `other` holds none.
    bool takePrivateKeyFrom(const _zvPublicKey& other, LogBase& log);

    // Replaces the content of `pkcs8`, which is marked secure first, by the private key as it was
    // loaded. False, without a log entry, when there is none or when it may not be exported; the
    // latter sets `notExportable`.
    bool getPrivateKeyDer(DataBuffer& pkcs8, bool& notExportable) const;

    // Whether the private key that `other` holds has the public key held here. Unknown when its
    // public half is not known, or there is none. Cheap: compares what loading has computed.
    certstore::KeyMatch match(const _zvPublicKey& other) const noexcept;

    // Forbids for good that the private key held now is handed out, here and wherever it is shared.
    void setNotExportable() noexcept;

    // Bounds what a caller can make us copy; the largest keys in use have some tens of KiB.
    static constexpr unsigned int kMaxPrivateKeySize = 1U << 20;

private:
    bool publish(const certstore::PrivateKey* key, LogBase& log);
    certstore::KeyMatch match(const certstore::PrivateKey& key) const noexcept;

    certstore::ByteView m_spki;
    std::atomic<const certstore::PrivateKey*> m_private{nullptr};
};
