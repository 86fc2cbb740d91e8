#include "support/crypto/Hmac.h"

#include <algorithm>
#include <array>

#include "support/base/Wipe.h"

namespace certstore {
namespace {

constexpr unsigned char kInnerPad = 0x36;
constexpr unsigned char kOuterPad = 0x5c;

// The key of one block: hashed when it is longer, filled up with zeros when it is shorter.
class KeyBlock {
public:
    KeyBlock(DigestAlgorithm algorithm, ByteView key) noexcept
        : m_size(digestBlockSize(algorithm)) {
        if (key.size() <= m_size) {
            std::copy(key.begin(), key.end(), m_bytes.begin());
            return;
        }
        RunningDigest digest(algorithm);
        digest.update(key);
        digest.finish(m_bytes);
    }
    ~KeyBlock() { wipe(m_bytes.data(), m_bytes.size()); }
    KeyBlock(const KeyBlock&) = delete;
    KeyBlock& operator=(const KeyBlock&) = delete;

    void feedTo(RunningDigest& digest, unsigned char pad) const noexcept {
        std::array<unsigned char, kMaxDigestBlockSize> padded;
        const WipeGuard guard(padded.data(), padded.size());
        std::transform(m_bytes.begin(), m_bytes.end(), padded.begin(), [pad](unsigned char octet) {
            return static_cast<unsigned char>(octet ^ pad);
        });
        digest.update(ByteView(padded).first(m_size));
    }

private:
    std::array<unsigned char, kMaxDigestBlockSize> m_bytes{};
    std::size_t m_size;
};

}  // namespace

Hmac::Hmac(DigestAlgorithm algorithm, ByteView key) noexcept
    : m_size(digestSize(algorithm)),
      m_innerStart(algorithm),
      m_outerStart(algorithm),
      m_running(algorithm) {
    const KeyBlock block(algorithm, key);
    block.feedTo(m_innerStart, kInnerPad);
    block.feedTo(m_outerStart, kOuterPad);
    m_running = m_innerStart;
}

void Hmac::finish(std::span<unsigned char> tag) noexcept {
    // The inner digest passes through the place of the tag, which is overwritten right away.
    m_running.finish(tag);
    m_running = m_outerStart;
    m_running.update(tag.first(m_size));
    m_running.finish(tag);
    m_running = m_innerStart;
}

}  // namespace certstore
