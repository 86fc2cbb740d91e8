#include "bench/peers/Peers.h"

namespace certbench {

const std::vector<Peer>& allPeers() {
    static const std::vector<Peer> peers{
        certstorePeer(),
#ifdef CERTSTORE_HAS_LIBCRYPTO
        libcryptoPeer(),
#endif
#ifdef CERTSTORE_HAS_GNUTLS
        gnutlsPeer(),
#endif
#ifdef CERTSTORE_HAS_MBEDTLS
        mbedtlsPeer(),
#endif
#ifdef CERTSTORE_HAS_NSS
        nssPeer(),
#endif
        floorPeer(),
    };
    return peers;
}

}  // namespace certbench
