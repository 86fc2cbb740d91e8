#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"
#include "support/crypto/BigEndian.h"

namespace certstore {

// What is hashed at an address (FIPS 205 section 4.2, table 1).
enum class SlhDsaAddressType : unsigned char { WotsHash, WotsKey, Tree, ForsTree, ForsRoots };

// FIPS 205 writes numbers into 32 octets, of which SHA-2 hashes the 22 that can be other than zero
// (section 11.2).
enum class SlhDsaAddressForm { Full, Compressed };

// The place of one hash in the trees of a key, kept in the very octets that are hashed.
template <SlhDsaAddressForm kForm>
class SlhDsaAddress {
public:
    ByteView octets() const noexcept { return m_octets; }

    void setTree(unsigned int layer, std::uint64_t tree) noexcept {
        m_octets[kLayer] = static_cast<unsigned char>(layer);
        storeBigEndian(tree, &m_octets[kTree]);
    }

    // Begins anew behind the tree. `keyPair`: the leaf that a one-time key belongs to; 0 for a
    // Tree.
    void setType(SlhDsaAddressType type, std::uint32_t keyPair = 0) noexcept {
        m_octets[kType] = static_cast<unsigned char>(type);
        storeBigEndian(keyPair, &m_octets[kWords]);
        setPosition(0, 0);
    }

    // The chain and the step in it, or the height of a node and its index at that height.
    void setPosition(std::uint32_t first, std::uint32_t second) noexcept {
        storeBigEndian(first, &m_octets[kWords + 4]);
        storeBigEndian(second, &m_octets[kWords + 8]);
    }

private:
    // Of several octets for a number, the last ones that a number here needs.
    static constexpr bool kFull = kForm == SlhDsaAddressForm::Full;
    static constexpr std::size_t kLayer = kFull ? 3 : 0;
    static constexpr std::size_t kTree = kFull ? 8 : 1;
    static constexpr std::size_t kType = kFull ? 19 : 9;
    static constexpr std::size_t kWords = kFull ? 20 : 10;

    std::array<unsigned char, kWords + 12> m_octets{};
};

}  // namespace certstore
