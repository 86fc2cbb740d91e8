#include "support/crypto/ShaInstructions.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#include "support/crypto/InstructionSets.h"

namespace certstore {
namespace {

// Four words in one register, the first of them in the highest lane, as the instructions want it.
using Words = __m128i;

// The lanes, or octets, in opposite order.
constexpr int kReverse = 0x1b;

[[gnu::target("sha,ssse3")]] inline Words loadWords(const unsigned char* octets) {
    const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(octets)), reversed);
}

struct Working {
    Words abcd;
    Words e;  // in the highest lane; after the first rounds, abcd before the latest four
};

// Four rounds with the function and constant of number kGroup / 5. `words`: the latest sixteen of
// the schedule, the oldest four of which go in and make room for the next ones.
template <int kGroup>
[[gnu::target("sha,ssse3")]] inline void doFourRounds(Working& working, Words (&words)[4]) {
    Words& oldest = words[kGroup % 4];
    const Words input =
        kGroup == 0 ? _mm_add_epi32(working.e, oldest) : _mm_sha1nexte_epu32(working.e, oldest);
    working.e = working.abcd;
    working.abcd = _mm_sha1rnds4_epu32(working.abcd, input, kGroup / 5);
    if constexpr (kGroup < 16) {
        const Words mixed = _mm_xor_si128(_mm_sha1msg1_epu32(oldest, words[(kGroup + 1) % 4]),
                                          words[(kGroup + 2) % 4]);
        oldest = _mm_sha1msg2_epu32(mixed, words[(kGroup + 3) % 4]);
    }
}

template <int kFirst>
[[gnu::target("sha,ssse3")]] inline void doTwentyRounds(Working& working, Words (&words)[4]) {
    doFourRounds<kFirst>(working, words);
    doFourRounds<kFirst + 1>(working, words);
    doFourRounds<kFirst + 2>(working, words);
    doFourRounds<kFirst + 3>(working, words);
    doFourRounds<kFirst + 4>(working, words);
}

[[gnu::target("sha,ssse3")]] void compressBlocks(std::array<std::uint32_t, 5>& state,
                                                 const unsigned char* blocks,
                                                 std::size_t blockCount) {
    auto* abcd = reinterpret_cast<__m128i*>(state.data());
    Working sum{_mm_shuffle_epi32(_mm_loadu_si128(abcd), kReverse),
                _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0)};
    for (; blockCount != 0; --blockCount, blocks += 64) {
        Words words[4] = {loadWords(blocks), loadWords(blocks + 16), loadWords(blocks + 32),
                          loadWords(blocks + 48)};
        Working working = sum;
        doTwentyRounds<0>(working, words);
        doTwentyRounds<5>(working, words);
        doTwentyRounds<10>(working, words);
        doTwentyRounds<15>(working, words);
        sum.e = _mm_sha1nexte_epu32(working.e, sum.e);
        sum.abcd = _mm_add_epi32(sum.abcd, working.abcd);
    }
    _mm_storeu_si128(abcd, _mm_shuffle_epi32(sum.abcd, kReverse));
    state[4] = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(sum.e, 12)));
}

}  // namespace

Sha1Compress sha1Instructions() noexcept {
    return haveShaInstructions() ? compressBlocks : nullptr;
}

}  // namespace certstore

#else

namespace certstore {

Sha1Compress sha1Instructions() noexcept {
    return nullptr;
}

}  // namespace certstore

#endif
