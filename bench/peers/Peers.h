#pragma once

#include <vector>

#include "bench/peers/Peer.h"

namespace certbench {

Peer certstorePeer();

// What the same jobs cost without a library: a bare walk over the DER, and four
// std::unordered_map, without locks or with one std::shared_mutex. Both know the one form of
// certificate that the benchmarks use.
Peer floorPeer();
Peer lockedFloorPeer();

// Compiled only where the library is installed.
Peer libcryptoPeer();
Peer gnutlsPeer();
Peer mbedtlsPeer();
Peer nssPeer();

// Ours, those of the above that this program was built with, and the floor.
const std::vector<Peer>& allPeers();

}  // namespace certbench
