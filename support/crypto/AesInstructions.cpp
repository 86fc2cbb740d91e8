#include "support/crypto/AesInstructions.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

namespace certstore {

[[gnu::target("aes")]] void decryptAesByInstructions(const std::uint32_t* roundKeys,
                                                     std::size_t rounds, const unsigned char* input,
                                                     unsigned char* output) noexcept {
    const auto* keys = reinterpret_cast<const __m128i*>(roundKeys);
    __m128i state = _mm_loadu_si128(reinterpret_cast<const __m128i*>(input));
    state = _mm_xor_si128(state, _mm_loadu_si128(keys));
    for (std::size_t round = 1; round < rounds; ++round)
        state = _mm_aesdec_si128(state, _mm_loadu_si128(keys + round));
    state = _mm_aesdeclast_si128(state, _mm_loadu_si128(keys + rounds));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output), state);
}

}  // namespace certstore

#else

namespace certstore {

// Never called: haveAesInstructions() is false here.
void decryptAesByInstructions(const std::uint32_t*, std::size_t, const unsigned char*,
                              unsigned char*) noexcept {}

}  // namespace certstore

#endif
