#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"
#include "support/crypto/BigEndian.h"
#include "support/crypto/LittleEndian.h"

namespace certstore {

// What SHA-1, SHA-2 and MD5 have in common (FIPS 180-4 section 5): cutting a message into blocks of
// 16 words, padding the last one, and a state that whole blocks are folded into. They differ in the
// order of octets within a word. It may hash secrets, so nothing of it stays in memory afterwards.
template <class Word, std::size_t kStateWords, std::size_t kSize,
          std::endian kOrder = std::endian::big>
class BlockHash {
public:
    static constexpr std::size_t kDigestSize = kSize;
    static constexpr std::size_t kBlockSize = 16 * sizeof(Word);

    ~BlockHash() {
        wipe(m_state.data(), sizeof m_state);
        wipe(m_pending.data(), sizeof m_pending);
    }

    // Appends `data` to the message, which may come in pieces of any size.
    void update(ByteView data) noexcept;

    // Writes the digest of all that was appended. The object is spent afterwards.
    void finish(std::span<unsigned char, kDigestSize> digest) noexcept;

    // Writes the first octets, a number of whole words, of the digest of all that was appended and
    // of `head` and `tail` behind it; the object stays as it is. Half the work of finishing a copy,
    // for whole blocks appended and no more behind them than fits into one with its padding. Not
    // for secrets: nothing is wiped.
    void digestBehind(ByteView head, ByteView tail, std::span<unsigned char> digest) const noexcept;

protected:
    using State = std::array<Word, kStateWords>;

    // Folds `blockCount` whole blocks into the state. A pointer, so that the choice between
    // portable code and processor instructions is made once, when hashing begins.
    using Compress = void (*)(State& state, const unsigned char* blocks, std::size_t blockCount);

    BlockHash(const State& initial, Compress compress) noexcept
        : m_state(initial), m_compress(compress) {}
    BlockHash(const BlockHash&) = default;
    BlockHash& operator=(const BlockHash&) = default;

private:
    static constexpr std::size_t kLengthSize = 2 * sizeof(Word);

    template <class Value>
    static void storeInOrder(Value value, unsigned char* octets) noexcept {
        if constexpr (kOrder == std::endian::big)
            storeBigEndian(value, octets);
        else
            storeLittleEndian(value, octets);
    }

    void appendPadding() noexcept;

    State m_state;
    Compress m_compress;
    std::uint64_t m_messageSize = 0;
    std::array<unsigned char, kBlockSize> m_pending{};
};

template <class Word, std::size_t kStateWords, std::size_t kSize, std::endian kOrder>
void BlockHash<Word, kStateWords, kSize, kOrder>::update(ByteView data) noexcept {
    const std::size_t pending = m_messageSize % kBlockSize;
    m_messageSize += data.size();
    if (pending != 0) {
        const ByteView head = data.first(std::min(data.size(), kBlockSize - pending));
        std::copy(head.begin(), head.end(), m_pending.data() + pending);
        if (pending + head.size() < kBlockSize)
            return;
        m_compress(m_state, m_pending.data(), 1);
        data = data.subspan(head.size());
    }
    const std::size_t blockCount = data.size() / kBlockSize;
    if (blockCount != 0)
        m_compress(m_state, data.data(), blockCount);
    const ByteView tail = data.subspan(blockCount * kBlockSize);
    std::copy(tail.begin(), tail.end(), m_pending.data());
}

template <class Word, std::size_t kStateWords, std::size_t kSize, std::endian kOrder>
void BlockHash<Word, kStateWords, kSize, kOrder>::finish(
    std::span<unsigned char, kDigestSize> digest) noexcept {
    appendPadding();
    constexpr std::size_t kWholeWords = kDigestSize / sizeof(Word);
    for (std::size_t i = 0; i < kWholeWords; ++i)
        storeInOrder(m_state[i], digest.data() + i * sizeof(Word));
    // A truncated digest may end with the upper half of a word.
    if constexpr (kDigestSize % sizeof(Word) != 0)
        storeInOrder(static_cast<std::uint32_t>(m_state[kWholeWords] >> 32),
                     digest.data() + kWholeWords * sizeof(Word));
}

template <class Word, std::size_t kStateWords, std::size_t kSize, std::endian kOrder>
void BlockHash<Word, kStateWords, kSize, kOrder>::digestBehind(
    ByteView head, ByteView tail, std::span<unsigned char> digest) const noexcept {
    std::array<unsigned char, kBlockSize> block{};
    unsigned char* end = std::copy(head.begin(), head.end(), block.data());
    end = std::copy(tail.begin(), tail.end(), end);
    *end = 0x80;
    const std::uint64_t size = m_messageSize + head.size() + tail.size();
    storeInOrder<std::uint64_t>(size << 3, block.data() + kBlockSize - 8);
    State state = m_state;
    m_compress(state, block.data(), 1);
    for (std::size_t i = 0; i < digest.size() / sizeof(Word); ++i)
        storeInOrder(state[i], digest.data() + i * sizeof(Word));
}

template <class Word, std::size_t kStateWords, std::size_t kSize, std::endian kOrder>
void BlockHash<Word, kStateWords, kSize, kOrder>::appendPadding() noexcept {
    std::size_t used = m_messageSize % kBlockSize;
    m_pending[used++] = 0x80;
    if (used > kBlockSize - kLengthSize) {
        std::fill(m_pending.begin() + static_cast<std::ptrdiff_t>(used), m_pending.end(),
                  static_cast<unsigned char>(0));
        m_compress(m_state, m_pending.data(), 1);
        used = 0;
    }
    std::fill(m_pending.begin() + static_cast<std::ptrdiff_t>(used), m_pending.end(),
              static_cast<unsigned char>(0));
    // The length counts bits; the three that do not fit in 64 go in front of it.
    unsigned char* end = m_pending.data() + kBlockSize;
    storeInOrder<std::uint64_t>(m_messageSize << 3, end - 8);
    if constexpr (kLengthSize > 8)
        end[-9] = static_cast<unsigned char>(m_messageSize >> 61);
    m_compress(m_state, m_pending.data(), 1);
}

}  // namespace certstore
