#include "support/crypto/Sha3.h"

#include <algorithm>
#include <atomic>
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

// One round (FIPS 202 section 3.3) from `a` to `b`, row by row. The fences, which are no
// instructions, keep compilers from mixing the rows: one row fits into registers, two do not.
[[gnu::always_inline]] inline void computeRound(const Lanes& a, Lanes& b,
                                                Lane roundConstant) noexcept {
    Lane parity[5], change[5];
    unroll<5>([&](auto x) __attribute__((always_inline)) {
        parity[x] = a[x] ^ a[x + 5] ^ a[x + 10] ^ a[x + 15] ^ a[x + 20];
    });
    unroll<5>([&](auto x) __attribute__((always_inline)) {
        change[x] = parity[(x + 4) % 5] ^ std::rotl(parity[(x + 1) % 5], 1);
    });
    unroll<5>([&](auto y) __attribute__((always_inline)) {
        Lane row[5];
        unroll<5>([&](auto x) __attribute__((always_inline)) {
            constexpr std::size_t column = (x + 3 * y) % 5, from = column + 5 * x;
            row[x] = std::rotl(a[from] ^ change[column], kRotations[from]);
        });
        unroll<5>([&](auto x) __attribute__((always_inline)) {
            b[x + 5 * y] = row[x] ^ (~row[(x + 1) % 5] & row[(x + 2) % 5]);
        });
        std::atomic_signal_fence(std::memory_order_seq_cst);
    });
    b[0] ^= roundConstant;
}

}  // namespace

void KeccakSponge::permute() noexcept {
    Lanes moved;
    const WipeGuard guard(moved.data(), sizeof moved);
    for (std::size_t round = 0; round < std::size(kRoundConstants); round += 2) {
        computeRound(m_lanes, moved, kRoundConstants[round]);
        computeRound(moved, m_lanes, kRoundConstants[round + 1]);
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
    while (!output.empty()) {
        if (m_position == m_rate)
            permute();
        const Lane lane = m_lanes[m_position / 8];
        if (m_position % 8 == 0 && output.size() >= 8) {
            storeLittleEndian(lane, output.data());
            m_position += 8;
            output = output.subspan(8);
            continue;
        }
        output[0] = static_cast<unsigned char>(lane >> (8 * (m_position % 8)));
        ++m_position;
        output = output.subspan(1);
    }
}

}  // namespace certstore
