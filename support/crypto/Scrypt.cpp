#include "support/crypto/Scrypt.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <memory>

#include "support/base/Wipe.h"
#include "support/crypto/LittleEndian.h"
#include "support/crypto/Pbkdf2.h"

namespace certstore {
namespace {

using Word = std::uint32_t;
using Words = std::span<Word>;

constexpr std::size_t kSalsaWords = 16;

using SalsaBlock = std::array<Word, kSalsaWords>;

void xorInto(Words target, std::span<const Word> source) {
    for (std::size_t i = 0; i < target.size(); ++i)
        target[i] ^= source[i];
}

inline void mixQuarter(Word& a, Word& b, Word& c, Word& d) {
    b ^= std::rotl(a + d, 7);
    c ^= std::rotl(b + a, 9);
    d ^= std::rotl(c + b, 13);
    a ^= std::rotl(d + c, 18);
}

// RFC 7914 section 3: four times a round over the columns, then one over the rows.
void mixSalsa(SalsaBlock& block) {
    SalsaBlock x = block;
    for (int i = 0; i < 4; ++i) {
        mixQuarter(x[0], x[4], x[8], x[12]);
        mixQuarter(x[5], x[9], x[13], x[1]);
        mixQuarter(x[10], x[14], x[2], x[6]);
        mixQuarter(x[15], x[3], x[7], x[11]);
        mixQuarter(x[0], x[1], x[2], x[3]);
        mixQuarter(x[5], x[6], x[7], x[4]);
        mixQuarter(x[10], x[11], x[8], x[9]);
        mixQuarter(x[15], x[12], x[13], x[14]);
    }
    for (std::size_t i = 0; i < kSalsaWords; ++i)
        block[i] += x[i];
    wipe(x.data(), sizeof x);
}

// scryptBlockMix, RFC 7914 section 4: blocks with even numbers go to the first half of the output.
void mixBlocks(Words input, Words output) {
    SalsaBlock x;
    const WipeGuard guard(x.data(), sizeof x);
    std::copy_n(input.end() - kSalsaWords, kSalsaWords, x.begin());
    const std::size_t blockCount = input.size() / kSalsaWords;
    for (std::size_t i = 0; i < blockCount; ++i) {
        xorInto(x, input.subspan(i * kSalsaWords, kSalsaWords));
        mixSalsa(x);
        const std::size_t place = i / 2 + (i % 2 != 0 ? blockCount / 2 : 0);
        std::copy(x.begin(), x.end(),
                  output.begin() + static_cast<std::ptrdiff_t>(place * kSalsaWords));
    }
}

// scryptROMix, RFC 7914 section 5. `table` has room for `cost` blocks of the size of `x`; `y` is
// one such block. Two steps at a time, so that x and y trade places instead of words.
void mixMemory(Words x, Words y, Words table, std::uint64_t cost) {
    const auto entry = [&](std::uint64_t i) { return table.subspan(i * x.size(), x.size()); };
    const auto pick = [&](Words block) { return entry(block[block.size() - kSalsaWords] % cost); };
    for (std::uint64_t i = 0; i < cost; i += 2) {
        std::copy(x.begin(), x.end(), entry(i).begin());
        mixBlocks(x, entry(i + 1));
        mixBlocks(entry(i + 1), x);
    }
    for (std::uint64_t i = 0; i < cost; i += 2) {
        xorInto(x, pick(x));
        mixBlocks(x, y);
        xorInto(y, pick(y));
        mixBlocks(y, x);
    }
}

// The order of the tests keeps every product within 64 bits.
bool areAcceptable(const ScryptParameters& parameters) {
    const auto [cost, blockSize, parallelization] = parameters;
    if (!std::has_single_bit(cost) || cost == 1 || blockSize == 0 || parallelization == 0)
        return false;
    if (cost > kMaxScryptWork || blockSize > kMaxScryptWork || parallelization > kMaxScryptWork)
        return false;
    if (blockSize < 4 && cost >> (16 * blockSize) != 0)
        return false;
    return cost * blockSize <= kMaxScryptWork
        && cost * blockSize * parallelization <= kMaxScryptWork
        && 128 * blockSize * (cost + parallelization + 1) <= kMaxScryptMemory;
}

// Words on the heap that are wiped before they are given back.
class SecretWords {
public:
    explicit SecretWords(std::size_t size) : m_words(new Word[size]), m_size(size) {}
    ~SecretWords() { wipe(m_words.get(), m_size * sizeof(Word)); }
    SecretWords(const SecretWords&) = delete;
    SecretWords& operator=(const SecretWords&) = delete;

    Words all() { return {m_words.get(), m_size}; }

private:
    std::unique_ptr<Word[]> m_words;
    std::size_t m_size;
};

// Words are kept in the order of this processor while they are mixed.
void toWords(Words words) {
    auto* octets = reinterpret_cast<unsigned char*>(words.data());
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = loadLittleEndian<Word>(octets + 4 * i);
}

void toOctets(Words words) {
    auto* octets = reinterpret_cast<unsigned char*>(words.data());
    for (std::size_t i = 0; i < words.size(); ++i)
        storeLittleEndian(words[i], octets + 4 * i);
}

}  // namespace

bool deriveScrypt(ByteView password, ByteView salt, const ScryptParameters& parameters,
                  std::span<unsigned char> key) {
    if (!areAcceptable(parameters))
        return false;
    const std::size_t blockWords = 2 * kSalsaWords * parameters.blockSize;
    const std::size_t stateWords = blockWords * parameters.parallelization;
    SecretWords memory(stateWords + blockWords * (parameters.cost + 1));
    const Words state = memory.all().first(stateWords);
    const Words spare = memory.all().subspan(stateWords, blockWords);
    const Words table = memory.all().subspan(stateWords + blockWords);
    const std::span octets(reinterpret_cast<unsigned char*>(state.data()), state.size_bytes());

    derivePbkdf2(DigestAlgorithm::Sha256, password, salt, 1, octets);
    toWords(state);
    for (std::size_t at = 0; at < stateWords; at += blockWords)
        mixMemory(state.subspan(at, blockWords), spare, table, parameters.cost);
    toOctets(state);
    return derivePbkdf2(DigestAlgorithm::Sha256, password, octets, 1, key);
}

}  // namespace certstore
