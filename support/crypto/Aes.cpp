#include "support/crypto/Aes.h"

#include <algorithm>
#include <bit>

#include "support/crypto/AesInstructions.h"
#include "support/crypto/InstructionSets.h"
#include "support/crypto/LittleEndian.h"
#include "support/crypto/Unroll.h"

namespace certstore {
namespace {

using Octet = unsigned char;
using Word = std::uint32_t;

// Multiplication in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1 (FIPS 197 section 4.2).
constexpr Octet multiply(unsigned a, unsigned b) {
    unsigned product = 0;
    for (; b != 0; b >>= 1, a = (a << 1) ^ ((a & 0x80) != 0 ? 0x11b : 0))
        product ^= (b & 1) != 0 ? a : 0;
    return static_cast<Octet>(product);
}

struct Tables {
    std::array<Octet, 256> substitute{};
    std::array<Octet, 256> substituteBack{};
    std::array<Word, 256> mixBack{};            // the column that InvMixColumns makes of an octet
    std::array<Word, 256> substituteMixBack{};  // the same, after InvSubBytes
};

// FIPS 197 section 5.1.1: the inverse in the field, then an affine map. Inverses come in pairs of
// powers of the generators 3 and 0xf6, its inverse.
constexpr Tables makeTables() {
    Tables tables;
    Octet power = 1, inverse = 1;
    for (int i = 0; i < 255; ++i) {
        const Octet affine = inverse ^ std::rotl(inverse, 1) ^ std::rotl(inverse, 2)
            ^ std::rotl(inverse, 3) ^ std::rotl(inverse, 4) ^ 0x63;
        tables.substitute[power] = affine;
        power = multiply(power, 0x03);
        inverse = multiply(inverse, 0xf6);
    }
    tables.substitute[0] = 0x63;
    for (unsigned i = 0; i < 256; ++i) {
        tables.substituteBack[tables.substitute[i]] = static_cast<Octet>(i);
        tables.mixBack[i] = multiply(i, 0x0e) | Word{multiply(i, 0x09)} << 8
            | Word{multiply(i, 0x0d)} << 16 | Word{multiply(i, 0x0b)} << 24;
    }
    for (unsigned i = 0; i < 256; ++i)
        tables.substituteMixBack[i] = tables.mixBack[tables.substituteBack[i]];
    return tables;
}

constexpr Tables kTables = makeTables();

constexpr Octet octetOf(Word word, int index) {
    return static_cast<Octet>(word >> (8 * index));
}

constexpr Word substituteWord(Word word) {
    Word result = 0;
    for (int i = 0; i < 4; ++i)
        result |= Word{kTables.substitute[octetOf(word, i)]} << (8 * i);
    return result;
}

constexpr Word mixColumnBack(Word column) {
    Word result = 0;
    for (int i = 0; i < 4; ++i)
        result ^= std::rotl(kTables.mixBack[octetOf(column, i)], 8 * i);
    return result;
}

// KeyExpansion, FIPS 197 section 5.2.
void expandKey(ByteView key, std::span<Word> words) {
    const std::size_t keyWords = key.size() / 4;
    for (std::size_t i = 0; i < keyWords; ++i)
        words[i] = loadLittleEndian<Word>(key.data() + 4 * i);
    Octet roundConstant = 1;
    for (std::size_t i = keyWords; i < words.size(); ++i) {
        Word word = words[i - 1];
        // NOLINTNEXTLINE(*-core.DivideZero): setKey takes 4, 6 or 8 words alone
        if (i % keyWords == 0) {
            word = substituteWord(std::rotr(word, 8)) ^ roundConstant;
            roundConstant = multiply(roundConstant, 2);
        } else if (keyWords > 6 && i % keyWords == 4) {
            word = substituteWord(word);
        }
        words[i] = words[i - keyWords] ^ word;
    }
}

using State = std::array<Word, 4>;

// The octet that InvShiftRows takes to `row` of `column`.
constexpr Octet shiftedOctet(const State& state, std::size_t column, std::size_t row) {
    return octetOf(state[(column + 4 - row) % 4], static_cast<int>(row));
}

State decryptRound(const State& state, const Word* roundKey) {
    State next;
    unroll<4>([&](auto column) __attribute__((always_inline)) {
        next[column] = roundKey[column];
        unroll<4>([&](auto row) __attribute__((always_inline)) {
            next[column] ^= std::rotl(kTables.substituteMixBack[shiftedOctet(state, column, row)],
                                      static_cast<int>(8 * row));
        });
    });
    return next;
}

State decryptLastRound(const State& state, const Word* roundKey) {
    State next;
    for (std::size_t column = 0; column < 4; ++column) {
        next[column] = roundKey[column];
        for (std::size_t row = 0; row < 4; ++row)
            next[column] ^= Word{kTables.substituteBack[shiftedOctet(state, column, row)]}
                << (8 * row);
    }
    return next;
}

}  // namespace

bool AesDecryptor::setKey(ByteView key) noexcept {
    if (key.size() != 16 && key.size() != 24 && key.size() != 32)
        return false;
    m_rounds = key.size() / 4 + 6;
    m_useInstructions = haveAesInstructions();
    const std::span<Word> words(m_roundKeys.data(), 4 * (m_rounds + 1));
    expandKey(key, words);
    for (std::size_t first = 0, last = m_rounds; first < last; ++first, --last)
        std::swap_ranges(&words[4 * first], &words[4 * first] + 4, &words[4 * last]);
    for (Word& word : words.subspan(4, words.size() - 8))
        word = mixColumnBack(word);
    return true;
}

void AesDecryptor::decryptBlock(const unsigned char* input, unsigned char* output) const noexcept {
    if (m_useInstructions) {
        decryptAesByInstructions(m_roundKeys.data(), m_rounds, input, output);
        return;
    }
    State state;
    const WipeGuard guard(state.data(), sizeof state);
    for (std::size_t i = 0; i < 4; ++i)
        state[i] = loadLittleEndian<Word>(input + 4 * i) ^ m_roundKeys[i];
    for (std::size_t round = 1; round < m_rounds; ++round)
        state = decryptRound(state, &m_roundKeys[4 * round]);
    state = decryptLastRound(state, &m_roundKeys[4 * m_rounds]);
    for (std::size_t i = 0; i < 4; ++i)
        storeLittleEndian(state[i], output + 4 * i);
}

}  // namespace certstore
