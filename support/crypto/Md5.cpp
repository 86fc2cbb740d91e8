#include "support/crypto/Md5.h"

#include <cstddef>

namespace certstore {
namespace {

using Word = std::uint32_t;
using State = std::array<Word, 4>;

constexpr State kInitial = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// RFC 1321 section 3.4: the sines of 1 to 64 (radians), without sign, times 2 to the 32nd.
constexpr Word kConstants[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// How a group of sixteen steps mixes three words, walks through the block and rotates.
struct Group {
    Word (*mix)(Word x, Word y, Word z);
    unsigned firstWord;
    unsigned wordStride;
    int rotations[4];
};

constexpr Group kGroups[4] = {
    {[](Word x, Word y, Word z) { return z ^ (x & (y ^ z)); }, 0, 1, {7, 12, 17, 22}},
    {[](Word x, Word y, Word z) { return y ^ (z & (x ^ y)); }, 1, 5, {5, 9, 14, 20}},
    {[](Word x, Word y, Word z) { return x ^ y ^ z; }, 5, 3, {4, 11, 16, 23}},
    {[](Word x, Word y, Word z) { return y ^ (x | ~z); }, 0, 7, {6, 10, 15, 21}},
};

// The working variables trade places instead of values, so that a step moves nothing.
template <unsigned kGroup, unsigned kStep>
inline void doStep(Word& a, Word b, Word c, Word d, const Word* words, unsigned step) {
    constexpr Group group = kGroups[kGroup];
    const Word word = words[(group.firstWord + group.wordStride * (step + kStep)) % 16];
    a += group.mix(b, c, d) + word + kConstants[16 * kGroup + step + kStep];
    a = b + std::rotl(a, group.rotations[kStep]);
}

template <unsigned kGroup>
inline void doGroup(State& working, const Word* words) {
    auto& [a, b, c, d] = working;
    for (unsigned step = 0; step < 16; step += 4) {
        doStep<kGroup, 0>(a, b, c, d, words, step);
        doStep<kGroup, 1>(d, a, b, c, words, step);
        doStep<kGroup, 2>(c, d, a, b, words, step);
        doStep<kGroup, 3>(b, c, d, a, words, step);
    }
}

void compressBlock(State& state, const unsigned char* block, Word (&words)[16]) {
    for (std::size_t i = 0; i < 16; ++i)
        words[i] = loadLittleEndian<Word>(block + 4 * i);
    State working = state;
    doGroup<0>(working, words);
    doGroup<1>(working, words);
    doGroup<2>(working, words);
    doGroup<3>(working, words);
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += working[i];
}

void compressBlocks(State& state, const unsigned char* blocks, std::size_t blockCount) {
    Word words[16];
    const WipeGuard guard(words, sizeof words);
    for (; blockCount != 0; --blockCount, blocks += Md5::kBlockSize)
        compressBlock(state, blocks, words);
}

}  // namespace

Md5::Md5() noexcept : BlockHash(kInitial, compressBlocks) {}

}  // namespace certstore
