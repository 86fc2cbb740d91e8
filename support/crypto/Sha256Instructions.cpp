#include "support/crypto/ShaInstructions.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#include "support/crypto/InstructionSets.h"
#include "support/crypto/Sha2Constants.h"

namespace certstore {
namespace {

// Four words in one register, the first of them in the lowest lane.
using Words = __m128i;

// Within each half of a register, the two lanes exchanged.
constexpr int kSwapPairs = 0xb1;

[[gnu::target("sha,ssse3")]] inline Words loadWords(const unsigned char* octets) {
    const __m128i reversed = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(octets)), reversed);
}

// The instructions keep the working variables in two registers, lowest lane first: F E B A and
// H G D C.
struct Working {
    Words feba;
    Words hgdc;
};

template <int kGroup>
[[gnu::target("sha,ssse3")]] inline void doFourRounds(Working& working, Words (&words)[4]) {
    Words& oldest = words[kGroup % 4];
    const auto* constants = reinterpret_cast<const __m128i*>(kSha256Constants.data());
    const Words input = _mm_add_epi32(oldest, _mm_load_si128(constants + kGroup));
    // Two rounds make the new A B E F, and the old ones are the new C D G H.
    working.hgdc = _mm_sha256rnds2_epu32(working.hgdc, working.feba, input);
    working.feba =
        _mm_sha256rnds2_epu32(working.feba, working.hgdc, _mm_unpackhi_epi64(input, input));
    if constexpr (kGroup < 12) {
        const Words latest = words[(kGroup + 3) % 4];
        const Words sevenBack = _mm_alignr_epi8(latest, words[(kGroup + 2) % 4], 4);
        const Words mixed =
            _mm_add_epi32(_mm_sha256msg1_epu32(oldest, words[(kGroup + 1) % 4]), sevenBack);
        oldest = _mm_sha256msg2_epu32(mixed, latest);
    }
}

template <int kFirst>
[[gnu::target("sha,ssse3")]] inline void doSixteenRounds(Working& working, Words (&words)[4]) {
    doFourRounds<kFirst>(working, words);
    doFourRounds<kFirst + 1>(working, words);
    doFourRounds<kFirst + 2>(working, words);
    doFourRounds<kFirst + 3>(working, words);
}

[[gnu::target("sha,ssse3")]] inline Working loadState(const __m128i* state) {
    const __m128i abcd = _mm_loadu_si128(state), efgh = _mm_loadu_si128(state + 1);
    return {_mm_shuffle_epi32(_mm_unpacklo_epi64(efgh, abcd), kSwapPairs),
            _mm_shuffle_epi32(_mm_unpackhi_epi64(efgh, abcd), kSwapPairs)};
}

[[gnu::target("sha,ssse3")]] inline void storeState(const Working& working, __m128i* state) {
    const __m128i efab = _mm_shuffle_epi32(working.feba, kSwapPairs);
    const __m128i ghcd = _mm_shuffle_epi32(working.hgdc, kSwapPairs);
    _mm_storeu_si128(state, _mm_unpackhi_epi64(efab, ghcd));
    _mm_storeu_si128(state + 1, _mm_unpacklo_epi64(efab, ghcd));
}

[[gnu::target("sha,ssse3")]] void compressBlocks(std::array<std::uint32_t, 8>& state,
                                                 const unsigned char* blocks,
                                                 std::size_t blockCount) {
    Working sum = loadState(reinterpret_cast<const __m128i*>(state.data()));
    for (; blockCount != 0; --blockCount, blocks += 64) {
        Words words[4] = {loadWords(blocks), loadWords(blocks + 16), loadWords(blocks + 32),
                          loadWords(blocks + 48)};
        Working working = sum;
        doSixteenRounds<0>(working, words);
        doSixteenRounds<4>(working, words);
        doSixteenRounds<8>(working, words);
        doSixteenRounds<12>(working, words);
        sum.feba = _mm_add_epi32(sum.feba, working.feba);
        sum.hgdc = _mm_add_epi32(sum.hgdc, working.hgdc);
    }
    storeState(sum, reinterpret_cast<__m128i*>(state.data()));
}

}  // namespace

Sha256Compress sha256Instructions() noexcept {
    return haveShaInstructions() ? compressBlocks : nullptr;
}

}  // namespace certstore

#else

namespace certstore {

Sha256Compress sha256Instructions() noexcept {
    return nullptr;
}

}  // namespace certstore

#endif
