#pragma once

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/BigEndian.h"
#include "support/crypto/Sha2.h"
#include "support/crypto/Sha3.h"
#include "support/crypto/SlhDsaAddress.h"

namespace certstore {

// The hash functions of SLH-DSA, one class for each family, for one public key: its seed, the first
// half of the key, is hashed once, as each hash at an address begins with it. All outputs are cut
// to the size of the span that takes them. For public data.

// FIPS 205 section 11.1.
class SlhDsaShake {
public:
    using Address = SlhDsaAddress<SlhDsaAddressForm::Full>;

    explicit SlhDsaShake(ByteView seed) noexcept { m_seeded.absorb(seed); }

    // F, for one node.
    void hashNode(const Address& address, ByteView node,
                  std::span<unsigned char> output) const noexcept {
        hashNodes(address, node, output);
    }

    // H, for two nodes.
    void hashPair(const Address& address, ByteView nodes,
                  std::span<unsigned char> output) const noexcept {
        hashNodes(address, nodes, output);
    }

    // T, for any number of nodes.
    void hashNodes(const Address& address, ByteView nodes,
                   std::span<unsigned char> output) const noexcept {
        Shake256 sponge(m_seeded);
        sponge.absorb(address.octets());
        sponge.absorb(nodes);
        sponge.squeeze(output);
    }

    // H_msg. `randomizer`: the first octets of the signature. The message is in two parts.
    static void hashMessage(ByteView randomizer, ByteView publicKey, ByteView head, ByteView tail,
                            std::span<unsigned char> output) noexcept {
        Shake256 sponge;
        for (const ByteView part : {randomizer, publicKey, head, tail})
            sponge.absorb(part);
        sponge.squeeze(output);
    }

private:
    Shake256 m_seeded;
};

// FIPS 205 sections 11.2.1, with Sha256 for `Wide`, and 11.2.2, with Sha512: the larger parameter
// sets leave to SHA-256 only the hash of one node.
template <class Wide>
class SlhDsaSha2 {
public:
    using Address = SlhDsaAddress<SlhDsaAddressForm::Compressed>;

    explicit SlhDsaSha2(ByteView seed) noexcept
        : m_narrow(absorbSeed<Sha256>(seed)), m_wide(absorbSeed<Wide>(seed)) {}

    void hashNode(const Address& address, ByteView node,
                  std::span<unsigned char> output) const noexcept {
        m_narrow.digestBehind(address.octets(), node, output);
    }

    void hashPair(const Address& address, ByteView nodes,
                  std::span<unsigned char> output) const noexcept {
        m_wide.digestBehind(address.octets(), nodes, output);
    }

    void hashNodes(const Address& address, ByteView nodes,
                   std::span<unsigned char> output) const noexcept {
        finish(m_wide, {address.octets(), nodes}, output);
    }

    static void hashMessage(ByteView randomizer, ByteView publicKey, ByteView head, ByteView tail,
                            std::span<unsigned char> output) noexcept {
        std::array<unsigned char, Wide::kDigestSize> digest;
        finish(Wide(), {randomizer, publicKey, head, tail}, digest);
        // MGF1 (RFC 8017 appendix B.2.1).
        const ByteView seed = publicKey.first(publicKey.size() / 2);
        std::array<unsigned char, 4> counter;
        for (std::uint32_t i = 0; !output.empty(); ++i) {
            storeBigEndian(i, counter.data());
            const auto block = output.first(std::min(output.size(), digest.size()));
            finish(Wide(), {randomizer, seed, digest, counter}, block);
            output = output.subspan(block.size());
        }
    }

private:
    // Filled up to a whole block, so that it is compressed but once.
    template <class Hash>
    static Hash absorbSeed(ByteView seed) noexcept {
        std::array<unsigned char, Hash::kBlockSize> block{};
        std::copy(seed.begin(), seed.end(), block.begin());
        Hash hash;
        hash.update(block);
        return hash;
    }

    template <class Hash>
    static void finish(Hash hash, std::initializer_list<ByteView> parts,
                       std::span<unsigned char> output) noexcept {
        for (const ByteView part : parts)
            hash.update(part);
        std::array<unsigned char, Hash::kDigestSize> digest;
        hash.finish(digest);
        std::copy_n(digest.begin(), output.size(), output.begin());
    }

    Sha256 m_narrow;
    Wide m_wide;
};

}  // namespace certstore
