#include "support/crypto/Sha1.h"

#include <bit>
#include <cstddef>

#include "support/crypto/ShaInstructions.h"

namespace certstore {
namespace {

using Word = std::uint32_t;
using State = std::array<Word, 5>;

constexpr State kInitial = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

constexpr Word choose(Word x, Word y, Word z) {
    return z ^ (x & (y ^ z));
}

constexpr Word parity(Word x, Word y, Word z) {
    return x ^ y ^ z;
}

constexpr Word majority(Word x, Word y, Word z) {
    return (x & y) | (z & (x | y));
}

// The working variables trade places instead of values, so that a round moves nothing.
template <Word (*kMix)(Word, Word, Word), Word kConstant>
inline void doRound(Word a, Word& b, Word c, Word d, Word& e, Word word) {
    e += std::rotl(a, 5) + kMix(b, c, d) + kConstant + word;
    b = std::rotl(b, 30);
}

template <Word (*kMix)(Word, Word, Word), Word kConstant>
inline void doTwentyRounds(Word& a, Word& b, Word& c, Word& d, Word& e, const Word* words) {
    for (const Word* end = words + 20; words != end; words += 5) {
        doRound<kMix, kConstant>(a, b, c, d, e, words[0]);
        doRound<kMix, kConstant>(e, a, b, c, d, words[1]);
        doRound<kMix, kConstant>(d, e, a, b, c, words[2]);
        doRound<kMix, kConstant>(c, d, e, a, b, words[3]);
        doRound<kMix, kConstant>(b, c, d, e, a, words[4]);
    }
}

// The three latest words stay in variables: read back from the array two at a time, as compilers
// like to do, they would have to wait until the writes have reached memory.
void expandWords(const unsigned char* block, Word (&words)[80]) {
    for (std::size_t i = 0; i < 16; ++i)
        words[i] = loadBigEndian<Word>(block + 4 * i);
    Word third = words[13], second = words[14], latest = words[15];
    for (std::size_t i = 16; i < 80; ++i) {
        words[i] = std::rotl(third ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
        third = second;
        second = latest;
        latest = words[i];
    }
}

void compressBlock(State& state, const unsigned char* block, Word (&words)[80]) {
    expandWords(block, words);
    auto [a, b, c, d, e] = state;
    doTwentyRounds<choose, 0x5a827999>(a, b, c, d, e, words);
    doTwentyRounds<parity, 0x6ed9eba1>(a, b, c, d, e, words + 20);
    doTwentyRounds<majority, 0x8f1bbcdc>(a, b, c, d, e, words + 40);
    doTwentyRounds<parity, 0xca62c1d6>(a, b, c, d, e, words + 60);
    const State sums = {a, b, c, d, e};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += sums[i];
}

void compressBlocks(State& state, const unsigned char* blocks, std::size_t blockCount) {
    Word words[80];
    const WipeGuard guard(words, sizeof words);
    for (; blockCount != 0; --blockCount, blocks += Sha1::kBlockSize)
        compressBlock(state, blocks, words);
}

Sha1Compress fastestCompress() noexcept {
    const Sha1Compress instructions = sha1Instructions();
    return instructions != nullptr ? instructions : compressBlocks;
}

}  // namespace

Sha1::Sha1() noexcept : BlockHash(kInitial, fastestCompress()) {}

}  // namespace certstore
