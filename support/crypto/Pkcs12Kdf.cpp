#include "support/crypto/Pkcs12Kdf.h"

#include <algorithm>
#include <array>

#include "support/base/Wipe.h"
#include "support/buffers/DataBuffer.h"
#include "support/crypto/RunningDigest.h"

namespace certstore {
namespace {

using Digest = std::array<unsigned char, kMaxDigestSize>;
using Block = std::array<unsigned char, kMaxDigestBlockSize>;

std::size_t roundUp(std::size_t size, std::size_t blockSize) {
    return (size + blockSize - 1) / blockSize * blockSize;
}

// Fills `place` with copies of `source`, one behind the other; the last one may be cut short.
void repeat(ByteView source, std::span<unsigned char> place) {
    for (std::size_t i = 0; i < place.size(); ++i)
        place[i] = source[i % source.size()];
}

// place = place + addend + 1, as numbers with the most significant byte first; what overflows is
// lost. Both have the same size.
void addPlusOne(std::span<unsigned char> place, ByteView addend) {
    unsigned carry = 1;
    for (std::size_t i = place.size(); i-- > 0; carry >>= 8) {
        carry += unsigned{place[i]} + addend[i];
        place[i] = static_cast<unsigned char>(carry);
    }
}

// The steps of RFC 7292 appendix B.2, with its names: D the diversifier, I the salt and password,
// A a block of output.
class Derivation {
public:
    Derivation(DigestAlgorithm algorithm, Pkcs12Purpose purpose, ByteView password, ByteView salt)
        : m_size(digestSize(algorithm)),
          m_blockSize(digestBlockSize(algorithm)),
          m_fresh(algorithm),
          m_diversified(algorithm),
          m_running(algorithm) {
        Block diversifier;
        diversifier.fill(static_cast<unsigned char>(purpose));
        m_diversified.update(ByteView(diversifier).first(m_blockSize));

        const std::size_t saltSize = roundUp(salt.size(), m_blockSize);
        const std::size_t passwordSize = roundUp(password.size(), m_blockSize);
        m_inputStorage.m_secure = true;
        const auto inputSize = static_cast<unsigned int>(saltSize + passwordSize);
        m_input = {m_inputStorage.extend(inputSize), inputSize};
        repeat(salt, m_input.first(saltSize));
        repeat(password, m_input.subspan(saltSize));
    }

    // The next digestSize() bytes of output.
    void deriveBlock(std::uint64_t iterations, Digest& a) noexcept {
        m_running = m_diversified;
        m_running.update(m_input);
        m_running.finish(a);
        for (std::uint64_t i = 1; i < iterations; ++i) {
            m_running = m_fresh;
            m_running.update(ByteView(a).first(m_size));
            m_running.finish(a);
        }
    }

    // Changes I for the next block.
    void advance(const Digest& a) noexcept {
        Block b;
        const WipeGuard guard(b.data(), b.size());
        repeat(ByteView(a).first(m_size), std::span(b).first(m_blockSize));
        for (std::size_t i = 0; i < m_input.size(); i += m_blockSize)
            addPlusOne(m_input.subspan(i, m_blockSize), ByteView(b).first(m_blockSize));
    }

private:
    std::size_t m_size;
    std::size_t m_blockSize;
    RunningDigest m_fresh;
    RunningDigest m_diversified;  // has taken in D
    RunningDigest m_running;
    DataBuffer m_inputStorage;
    std::span<unsigned char> m_input;
};

}  // namespace

bool derivePkcs12(DigestAlgorithm algorithm, Pkcs12Purpose purpose, ByteView password,
                  ByteView salt, std::uint64_t iterations, std::span<unsigned char> output) {
    if (iterations == 0 || std::max(password.size(), salt.size()) > kMaxPkcs12InputSize)
        return false;
    Derivation derivation(algorithm, purpose, password, salt);
    Digest a;
    const WipeGuard guard(a.data(), a.size());
    while (!output.empty()) {
        derivation.deriveBlock(iterations, a);
        const std::size_t used = std::min(digestSize(algorithm), output.size());
        std::copy_n(a.begin(), used, output.begin());
        output = output.subspan(used);
        if (!output.empty())
            derivation.advance(a);
    }
    return true;
}

}  // namespace certstore
