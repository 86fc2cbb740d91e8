#include "support/crypto/Ed25519.h"

#include "support/crypto/EdwardsVerify.h"
#include "support/crypto/Sha2.h"

namespace certstore {
namespace {

EdwardsHash<Edwards25519> computeHash(ByteView r, ByteView publicKey, ByteView message) {
    Sha512 hash;
    hash.update(r);
    hash.update(publicKey);
    hash.update(message);
    EdwardsHash<Edwards25519> digest;
    hash.finish(digest);
    return digest;
}

}  // namespace

bool verifyEd25519(ByteView publicKey, ByteView message, ByteView signature) noexcept {
    return verifyEdwards<Edwards25519>(publicKey, message, signature, computeHash);
}

}  // namespace certstore
