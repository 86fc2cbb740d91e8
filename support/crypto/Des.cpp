#include "support/crypto/Des.h"

#include <bit>
#include <utility>

#include "support/crypto/BigEndian.h"

namespace certstore {
namespace {

// Tables of FIPS 46-3. Bits are numbered from 1, the highest one, as there.

constexpr unsigned char kPermutedChoice1[56] = {
    57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18, 10, 2,  59, 51, 43,
    35, 27, 19, 11, 3,  60, 52, 44, 36, 63, 55, 47, 39, 31, 23, 15, 7,  62, 54,
    46, 38, 30, 22, 14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};
constexpr unsigned char kPermutedChoice2[48] = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,  26, 8,  16, 7,  27, 20, 13, 2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
constexpr unsigned char kRoundPermutation[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23,
                                                 26, 5, 18, 31, 10, 2,  8,  24, 14, 32, 27,
                                                 3,  9, 19, 13, 30, 6,  22, 11, 4,  25};
constexpr int kKeyRotations[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

constexpr unsigned char kSubstitutions[8][4][16] = {
    {{14, 4, 13, 1, 2, 15, 11, 8, 3, 10, 6, 12, 5, 9, 0, 7},
     {0, 15, 7, 4, 14, 2, 13, 1, 10, 6, 12, 11, 9, 5, 3, 8},
     {4, 1, 14, 8, 13, 6, 2, 11, 15, 12, 9, 7, 3, 10, 5, 0},
     {15, 12, 8, 2, 4, 9, 1, 7, 5, 11, 3, 14, 10, 0, 6, 13}},
    {{15, 1, 8, 14, 6, 11, 3, 4, 9, 7, 2, 13, 12, 0, 5, 10},
     {3, 13, 4, 7, 15, 2, 8, 14, 12, 0, 1, 10, 6, 9, 11, 5},
     {0, 14, 7, 11, 10, 4, 13, 1, 5, 8, 12, 6, 9, 3, 2, 15},
     {13, 8, 10, 1, 3, 15, 4, 2, 11, 6, 7, 12, 0, 5, 14, 9}},
    {{10, 0, 9, 14, 6, 3, 15, 5, 1, 13, 12, 7, 11, 4, 2, 8},
     {13, 7, 0, 9, 3, 4, 6, 10, 2, 8, 5, 14, 12, 11, 15, 1},
     {13, 6, 4, 9, 8, 15, 3, 0, 11, 1, 2, 12, 5, 10, 14, 7},
     {1, 10, 13, 0, 6, 9, 8, 7, 4, 15, 14, 3, 11, 5, 2, 12}},
    {{7, 13, 14, 3, 0, 6, 9, 10, 1, 2, 8, 5, 11, 12, 4, 15},
     {13, 8, 11, 5, 6, 15, 0, 3, 4, 7, 2, 12, 1, 10, 14, 9},
     {10, 6, 9, 0, 12, 11, 7, 13, 15, 1, 3, 14, 5, 2, 8, 4},
     {3, 15, 0, 6, 10, 1, 13, 8, 9, 4, 5, 11, 12, 7, 2, 14}},
    {{2, 12, 4, 1, 7, 10, 11, 6, 8, 5, 3, 15, 13, 0, 14, 9},
     {14, 11, 2, 12, 4, 7, 13, 1, 5, 0, 15, 10, 3, 9, 8, 6},
     {4, 2, 1, 11, 10, 13, 7, 8, 15, 9, 12, 5, 6, 3, 0, 14},
     {11, 8, 12, 7, 1, 14, 2, 13, 6, 15, 0, 9, 10, 4, 5, 3}},
    {{12, 1, 10, 15, 9, 2, 6, 8, 0, 13, 3, 4, 14, 7, 5, 11},
     {10, 15, 4, 2, 7, 12, 9, 5, 6, 1, 13, 14, 0, 11, 3, 8},
     {9, 14, 15, 5, 2, 8, 12, 3, 7, 0, 4, 10, 1, 13, 11, 6},
     {4, 3, 2, 12, 9, 5, 15, 10, 11, 14, 1, 7, 6, 0, 8, 13}},
    {{4, 11, 2, 14, 15, 0, 8, 13, 3, 12, 9, 7, 5, 10, 6, 1},
     {13, 0, 11, 7, 4, 9, 1, 10, 14, 3, 5, 12, 2, 15, 8, 6},
     {1, 4, 11, 13, 12, 3, 7, 14, 10, 15, 6, 8, 0, 5, 9, 2},
     {6, 11, 13, 8, 1, 4, 10, 7, 9, 5, 0, 15, 14, 2, 3, 12}},
    {{13, 2, 8, 4, 6, 15, 11, 1, 10, 9, 3, 14, 5, 0, 12, 7},
     {1, 15, 13, 8, 10, 3, 7, 4, 12, 5, 6, 11, 0, 14, 9, 2},
     {7, 11, 4, 1, 9, 12, 14, 2, 0, 6, 10, 13, 15, 3, 5, 8},
     {2, 1, 14, 7, 4, 10, 8, 13, 15, 12, 9, 0, 3, 5, 6, 11}}};

// Collects the bits of a number `width` bits wide that `table` names, in that order.
template <std::size_t kCount>
constexpr std::uint64_t pickBits(std::uint64_t value, int width,
                                 const unsigned char (&table)[kCount]) {
    std::uint64_t picked = 0;
    for (const unsigned char bit : table)
        picked = picked << 1 | ((value >> (width - bit)) & 1);
    return picked;
}

// For each S-box and its six bits of input: its output where the permutation P takes it.
using RoundTables = std::array<std::array<std::uint32_t, 64>, 8>;

constexpr RoundTables makeRoundTables() {
    RoundTables tables{};
    for (unsigned box = 0; box < 8; ++box) {
        for (unsigned input = 0; input < 64; ++input) {
            const unsigned row = (input >> 4 & 2) | (input & 1);
            const std::uint32_t output = kSubstitutions[box][row][input >> 1 & 15];
            tables[box][input] = static_cast<std::uint32_t>(
                pickBits(output << (28 - 4 * box), 32, kRoundPermutation));
        }
    }
    return tables;
}

constexpr RoundTables kRoundTables = makeRoundTables();

struct Halves {
    std::uint32_t left;
    std::uint32_t right;
};

// Exchanges the bits of `a` under `mask` with those of `b` that lie `shift` higher.
constexpr void exchangeBits(std::uint32_t& a, std::uint32_t& b, int shift, std::uint32_t mask) {
    const std::uint32_t difference = (a ^ b >> shift) & mask;
    a ^= difference;
    b ^= difference << shift;
}

// The initial permutation IP is a matrix of 8 by 8 bits turned over its diagonal, with its rows
// sorted: five exchanges of ever smaller squares.
constexpr Halves permuteInitially(std::uint64_t block) {
    auto left = static_cast<std::uint32_t>(block >> 32), right = static_cast<std::uint32_t>(block);
    exchangeBits(right, left, 4, 0x0f0f0f0f);
    exchangeBits(right, left, 16, 0x0000ffff);
    exchangeBits(left, right, 2, 0x33333333);
    exchangeBits(left, right, 8, 0x00ff00ff);
    exchangeBits(right, left, 1, 0x55555555);
    return {left, right};
}

constexpr std::uint64_t permuteFinally(Halves halves) {
    auto [left, right] = halves;
    exchangeBits(right, left, 1, 0x55555555);
    exchangeBits(left, right, 8, 0x00ff00ff);
    exchangeBits(left, right, 2, 0x33333333);
    exchangeBits(right, left, 16, 0x0000ffff);
    exchangeBits(right, left, 4, 0x0f0f0f0f);
    return std::uint64_t{left} << 32 | right;
}

// One round: the expansion E hands each S-box four bits and a neighbour on either side.
template <class RoundKey>
constexpr void doRound(Halves& halves, const RoundKey& roundKey) {
    std::uint32_t mixed = halves.left;
    for (std::size_t box = 0; box < 8; ++box) {
        const std::uint32_t window = std::rotl(halves.right, static_cast<int>(5 + 4 * box));
        mixed ^= kRoundTables[box][(window ^ roundKey[box]) & 0x3f];
    }
    halves = {halves.right, mixed};
}

constexpr std::uint64_t kHalfMask = (1U << 28) - 1;

constexpr std::uint64_t rotateHalf(std::uint64_t half, int by) {
    return (half << by | half >> (28 - by)) & kHalfMask;
}

}  // namespace

bool DesKey::setKey(ByteView key) noexcept {
    if (key.size() != kKeySize)
        return false;
    std::uint64_t chosen = pickBits(loadBigEndian<std::uint64_t>(key.data()), 64, kPermutedChoice1);
    std::uint64_t roundBits = 0;
    const WipeGuard guardChosen(&chosen, sizeof chosen), guardBits(&roundBits, sizeof roundBits);
    for (std::size_t round = 0; round < m_roundKeys.size(); ++round) {
        chosen = rotateHalf(chosen >> 28, kKeyRotations[round]) << 28
            | rotateHalf(chosen & kHalfMask, kKeyRotations[round]);
        roundBits = pickBits(chosen, 56, kPermutedChoice2);
        for (std::size_t box = 0; box < 8; ++box)
            m_roundKeys[round][box] =
                static_cast<unsigned char>(roundBits >> (42 - 6 * box) & 0x3f);
    }
    return true;
}

std::uint64_t DesKey::encrypt(std::uint64_t block) const noexcept {
    Halves halves = permuteInitially(block);
    for (std::size_t round = 0; round < m_roundKeys.size(); ++round)
        doRound(halves, m_roundKeys[round]);
    return permuteFinally({halves.right, halves.left});
}

std::uint64_t DesKey::decrypt(std::uint64_t block) const noexcept {
    Halves halves = permuteInitially(block);
    for (std::size_t round = m_roundKeys.size(); round-- > 0;)
        doRound(halves, m_roundKeys[round]);
    return permuteFinally({halves.right, halves.left});
}

void DesKey::decryptBlock(const unsigned char* input, unsigned char* output) const noexcept {
    storeBigEndian(decrypt(loadBigEndian<std::uint64_t>(input)), output);
}

}  // namespace certstore
