#include "support/crypto/Sha3.h"

#include <algorithm>
#include <bit>

#include "support/crypto/LittleEndian.h"
#include "support/crypto/Unroll.h"

namespace certstore {
namespace {

using Lane = std::uint64_t;
using Lanes = std::array<Lane, 25>;  // the lane at x, y is number x + 5 * y

// FIPS 202 section 3.2.5.
constexpr Lane kRoundConstants[24] = {
    0x0000000000000001, 0x0000000000008082, 0x800000000000808a, 0x8000000080008000,
    0x000000000000808b, 0x0000000080000001, 0x8000000080008081, 0x8000000000008009,
    0x000000000000008a, 0x0000000000000088, 0x0000000080008009, 0x000000008000000a,
    0x000000008000808b, 0x800000000000008b, 0x8000000000008089, 0x8000000000008003,
    0x8000000000008002, 0x8000000000000080, 0x000000000000800a, 0x800000008000000a,
    0x8000000080008081, 0x8000000000008080, 0x0000000080000001, 0x8000000080008008};

// FIPS 202 section 3.2.2, table 2, modulo the 64 bits of a lane.
constexpr int kRotations[25] = {0,  1,  62, 28, 27, 36, 44, 6,  55, 20, 3,  10, 43,
                                25, 39, 41, 45, 15, 21, 8,  18, 2,  61, 56, 14};

// FIPS 202 section 3.2.1: theta, in place.
[[gnu::always_inline]] inline void mixColumns(Lanes& a) {
    Lane parity[5];
    unroll<5>([&](auto x) __attribute__((always_inline)) {
        parity[x] = a[x] ^ a[x + 5] ^ a[x + 10] ^ a[x + 15] ^ a[x + 20];
    });
    unroll<25>([&](auto i) __attribute__((always_inline)) {
        a[i] ^= parity[(i + 4) % 5] ^ std::rotl(parity[(i + 1) % 5], 1);
    });
}

// Sections 3.2.2 to 3.2.5: rho and pi move the lanes from `a` to `b`, chi and iota go back.
[[gnu::always_inline]] inline void mixRows(Lanes& a, Lanes& b, Lane roundConstant) {
    unroll<25>([&](auto i) __attribute__((always_inline)) {
        constexpr std::size_t x = i % 5, y = i / 5;
        b[y + 5 * ((2 * x + 3 * y) % 5)] = std::rotl(a[i], kRotations[i]);
    });
    unroll<25>([&](auto i) __attribute__((always_inline)) {
        constexpr std::size_t row = i / 5 * 5;
        a[i] = b[i] ^ (~b[row + (i + 1) % 5] & b[row + (i + 2) % 5]);
    });
    a[0] ^= roundConstant;
}

}  // namespace

void KeccakSponge::permute() noexcept {
    Lanes moved;
    const WipeGuard guard(moved.data(), sizeof moved);
    for (const Lane roundConstant : kRoundConstants) {
        mixColumns(m_lanes);
        mixRows(m_lanes, moved, roundConstant);
    }
    m_position = 0;
}

void KeccakSponge::absorbOctet(unsigned char octet) noexcept {
    m_lanes[m_position / 8] ^= Lane{octet} << (8 * (m_position % 8));
    if (++m_position == m_rate)
        permute();
}

void KeccakSponge::absorb(ByteView data) noexcept {
    for (; !data.empty() && m_position % 8 != 0; data = data.subspan(1))
        absorbOctet(data[0]);
    for (; data.size() >= 8; data = data.subspan(8)) {
        m_lanes[m_position / 8] ^= loadLittleEndian<Lane>(data.data());
        m_position += 8;
        if (m_position == m_rate)
            permute();
    }
    for (const unsigned char octet : data)
        absorbOctet(octet);
}

void KeccakSponge::squeeze(std::span<unsigned char> output) noexcept {
    if (!m_squeezing) {
        m_lanes[m_position / 8] ^= Lane{m_suffix} << (8 * (m_position % 8));
        m_lanes[m_rate / 8 - 1] ^= Lane{0x80} << 56;
        permute();
        m_squeezing = true;
    }
    for (unsigned char& octet : output) {
        if (m_position == m_rate)
            permute();
        octet = static_cast<unsigned char>(m_lanes[m_position / 8] >> (8 * (m_position % 8)));
        ++m_position;
    }
}

}  // namespace certstore
