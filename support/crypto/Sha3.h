#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"

namespace certstore {

// The sponge over Keccak-f[1600] (FIPS 202 sections 3 and 4): octets are absorbed, then squeezed
// out, each in pieces of any size. It may hold secrets and wipes itself.
class KeccakSponge {
public:
    // `rate`: octets between two permutations, a multiple of 8 below 200. `suffix`: the bits that
    // end the message and begin its padding, 0x06 for SHA-3, 0x1f for SHAKE.
    KeccakSponge(std::size_t rate, unsigned char suffix) noexcept
        : m_rate(rate), m_suffix(suffix) {}
    ~KeccakSponge() { wipe(m_lanes.data(), sizeof m_lanes); }
    KeccakSponge(const KeccakSponge&) = default;
    KeccakSponge& operator=(const KeccakSponge&) = default;

    // Appends to the message. Not to be called once squeezing has begun.
    void absorb(ByteView data) noexcept;

    // Writes the next octets of the output; the first call ends the message.
    void squeeze(std::span<unsigned char> output) noexcept;

private:
    void absorbOctet(unsigned char octet) noexcept;
    void permute() noexcept;

    std::array<std::uint64_t, 25> m_lanes{};
    std::size_t m_rate;
    std::size_t m_position = 0;  // within the rate: octets absorbed or squeezed
    unsigned char m_suffix;
    bool m_squeezing = false;
};

// SHA-3 with kSize octets of digest (FIPS 202 section 6.1), used like the other digests.
template <std::size_t kSize>
class Sha3 {
public:
    static constexpr std::size_t kDigestSize = kSize;
    static constexpr std::size_t kBlockSize = 200 - 2 * kSize;

    void update(ByteView data) noexcept { m_sponge.absorb(data); }
    void finish(std::span<unsigned char, kDigestSize> digest) noexcept { m_sponge.squeeze(digest); }

private:
    KeccakSponge m_sponge{kBlockSize, 0x06};
};

using Sha3_224 = Sha3<28>;
using Sha3_256 = Sha3<32>;
using Sha3_384 = Sha3<48>;
using Sha3_512 = Sha3<64>;

// SHAKE128 and SHAKE256 (FIPS 202 section 6.2).
template <std::size_t kOctets>
class Shake : public KeccakSponge {
public:
    static constexpr std::size_t kRate = kOctets;

    Shake() noexcept : KeccakSponge(kRate, 0x1f) {}
};

using Shake128 = Shake<168>;
using Shake256 = Shake<136>;

}  // namespace certstore
