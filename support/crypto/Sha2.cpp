#include "support/crypto/Sha2.h"

#include <bit>
#include <cstddef>

#include "support/crypto/Sha2Constants.h"
#include "support/crypto/ShaInstructions.h"

namespace certstore {
namespace {

template <class Word>
using State = std::array<Word, 8>;

// FIPS 180-4 section 5.3: fractions of the square roots of the first eight primes, and of the next
// eight. SHA-256 starts from the upper halves of the former, SHA-224 from the lower of the latter.
constexpr State<std::uint64_t> kInitial512 = {
    0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
    0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
constexpr State<std::uint64_t> kInitial384 = {
    0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17, 0x152fecd8f70e5939,
    0x67332667ffc00b31, 0x8eb44a8768581511, 0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4};

// FIPS 180-4 section 5.3.6: SHA-512 of the names "SHA-512/224" and "SHA-512/256", begun from
// kInitial512 with every octet combined with a5.
constexpr State<std::uint64_t> kInitial512_224 = {
    0x8c3d37c819544da2, 0x73e1996689dcd4d6, 0x1dfab7ae32ff9c82, 0x679dd514582f9fcf,
    0x0f6d2b697bd44da8, 0x77e36f7304c48942, 0x3f9d85a86a1d36c8, 0x1112e6ad91d692a1};
constexpr State<std::uint64_t> kInitial512_256 = {
    0x22312194fc2bf72c, 0x9f555fa3c84c64c2, 0x2393b86b6f53b151, 0x963877195940eabd,
    0x96283ee2a88effe3, 0xbe5e1e2553863992, 0x2b0199fc2c85b8aa, 0x0eb72ddc81c52ca2};

constexpr auto kInitial256 = takeWordHalves<8>(kInitial512.data(), 32);
constexpr auto kInitial224 = takeWordHalves<8>(kInitial384.data(), 0);

// What differs between the two word sizes: the constants and the six functions of section 4.1.
struct Words32 {
    using Word = std::uint32_t;
    static constexpr const auto& kConstants = kSha256Constants;
    static constexpr int kBigA[3] = {2, 13, 22};
    static constexpr int kBigE[3] = {6, 11, 25};
    static constexpr int kSmall0[3] = {7, 18, 3};
    static constexpr int kSmall1[3] = {17, 19, 10};
};

struct Words64 {
    using Word = std::uint64_t;
    static constexpr const auto& kConstants = kSha512Constants;
    static constexpr int kBigA[3] = {28, 34, 39};
    static constexpr int kBigE[3] = {14, 18, 41};
    static constexpr int kSmall0[3] = {1, 8, 7};
    static constexpr int kSmall1[3] = {19, 61, 6};
};

template <class Word>
constexpr Word mixRound(Word x, const int (&by)[3]) {
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ std::rotr(x, by[2]);
}

template <class Word>
constexpr Word mixSchedule(Word x, const int (&by)[3]) {
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ (x >> by[2]);
}

// The working variables trade places instead of values, so that a round moves nothing.
template <class Traits, class Word>
inline void doRound(Word a, Word b, Word c, Word& d, Word e, Word f, Word g, Word& h, Word input) {
    const Word choose = g ^ (e & (f ^ g));
    const Word majority = (a & b) | (c & (a | b));
    h += mixRound(e, Traits::kBigE) + choose + input;
    d += h;
    h += mixRound(a, Traits::kBigA) + majority;
}

template <class Traits, class Word>
void compressBlock(State<Word>& state, const unsigned char* block, Word* w) {
    constexpr std::size_t kRounds = Traits::kConstants.size();
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = loadBigEndian<Word>(block + sizeof(Word) * i);
    for (std::size_t i = 16; i < kRounds; ++i)
        w[i] = mixSchedule(w[i - 2], Traits::kSmall1) + w[i - 7]
            + mixSchedule(w[i - 15], Traits::kSmall0) + w[i - 16];

    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i < kRounds; i += 8) {
        const Word* k = Traits::kConstants.data() + i;
        doRound<Traits>(a, b, c, d, e, f, g, h, k[0] + w[i]);
        doRound<Traits>(h, a, b, c, d, e, f, g, k[1] + w[i + 1]);
        doRound<Traits>(g, h, a, b, c, d, e, f, k[2] + w[i + 2]);
        doRound<Traits>(f, g, h, a, b, c, d, e, k[3] + w[i + 3]);
        doRound<Traits>(e, f, g, h, a, b, c, d, k[4] + w[i + 4]);
        doRound<Traits>(d, e, f, g, h, a, b, c, k[5] + w[i + 5]);
        doRound<Traits>(c, d, e, f, g, h, a, b, k[6] + w[i + 6]);
        doRound<Traits>(b, c, d, e, f, g, h, a, k[7] + w[i + 7]);
    }
    const State<Word> sums = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += sums[i];
}

template <class Traits>
void compressBlocks(State<typename Traits::Word>& state, const unsigned char* blocks,
                    std::size_t blockCount) {
    typename Traits::Word words[Traits::kConstants.size()];
    const WipeGuard guard(words, sizeof words);
    for (; blockCount != 0; --blockCount, blocks += 16 * sizeof words[0])
        compressBlock<Traits>(state, blocks, words);
}

Sha256Compress fastestCompress256() noexcept {
    const Sha256Compress instructions = sha256Instructions();
    return instructions != nullptr ? instructions : compressBlocks<Words32>;
}

}  // namespace

Sha224::Sha224() noexcept : BlockHash(kInitial224, fastestCompress256()) {}
Sha256::Sha256() noexcept : BlockHash(kInitial256, fastestCompress256()) {}
Sha384::Sha384() noexcept : BlockHash(kInitial384, compressBlocks<Words64>) {}
Sha512::Sha512() noexcept : BlockHash(kInitial512, compressBlocks<Words64>) {}
Sha512_224::Sha512_224() noexcept : BlockHash(kInitial512_224, compressBlocks<Words64>) {}
Sha512_256::Sha512_256() noexcept : BlockHash(kInitial512_256, compressBlocks<Words64>) {}

}  // namespace certstore
