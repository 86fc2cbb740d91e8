#include "support/crypto/Ed448.h"

#include "support/crypto/EdwardsVerify.h"
#include "support/crypto/Sha3.h"

namespace certstore {
namespace {

// RFC 8032 section 5.2: dom4(0, "") = "SigEd448", no prehashing, a context of no octets.
constexpr unsigned char kDomain[] = {'S', 'i', 'g', 'E', 'd', '4', '4', '8', 0, 0};

EdwardsHash<Edwards448> computeHash(ByteView r, ByteView publicKey, ByteView message) {
    KeccakSponge shake256(136, 0x1f);
    shake256.absorb(kDomain);
    shake256.absorb(r);
    shake256.absorb(publicKey);
    shake256.absorb(message);
    EdwardsHash<Edwards448> digest;
    shake256.squeeze(digest);
    return digest;
}

}  // namespace

bool verifyEd448(ByteView publicKey, ByteView message, ByteView signature) noexcept {
    return verifyEdwards<Edwards448>(publicKey, message, signature, computeHash);
}

}  // namespace certstore
