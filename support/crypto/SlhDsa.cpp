#include "support/crypto/SlhDsa.h"

#include <array>
#include <span>

#include "support/crypto/Digest.h"
#include "support/crypto/Sha2.h"
#include "support/crypto/SlhDsaHash.h"

namespace certstore {
namespace {

using enum SlhDsaAddressType;

constexpr SlhDsaParameters kLargest = kSlhDsaSets[5];
constexpr std::size_t kLongestNode = kLargest.n;
constexpr std::size_t kMostChains = kLargest.chainCount();
constexpr std::size_t kMostForsTrees = kLargest.k;
constexpr std::size_t kLongestChoices =
    kLargest.forsDigestSize() + kLargest.treeIndexSize() + kLargest.leafIndexSize();

// Digits of a node that a WOTS+ key signs are below this: w.
constexpr int kChainLength = 16;

// The first `size` octets, which `rest` loses.
ByteView take(ByteView& rest, std::size_t size) noexcept {
    const ByteView head = rest.first(size);
    rest = rest.subspan(size);
    return head;
}

// The `bitCount` bits, at most 64, from `position` on, most significant first.
std::uint64_t readBits(ByteView octets, std::size_t position, unsigned int bitCount) noexcept {
    std::uint64_t value = 0;
    for (const std::size_t end = position + bitCount; position < end; ++position)
        value = value << 1 | (octets[position / 8] >> (7 - position % 8) & 1U);
    return value;
}

// The big-endian number in all of `octets`, modulo 2^bitCount.
std::uint64_t readIndex(ByteView octets, unsigned int bitCount) noexcept {
    return readBits(octets, 8 * octets.size() - bitCount, bitCount);
}

// The digits in base 16 of a node and of its checksum (FIPS 205 section 5.3).
std::array<unsigned char, kMostChains> splitNode(ByteView node) noexcept {
    std::array<unsigned char, kMostChains> digits;
    std::size_t count = 0;
    int checksum = 0;
    for (const unsigned char octet : node)
        for (const int digit : {octet >> 4, octet & 15}) {
            digits[count++] = static_cast<unsigned char>(digit);
            checksum += kChainLength - 1 - digit;
        }
    for (const int shift : {8, 4, 0})
        digits[count++] = static_cast<unsigned char>(checksum >> shift & 15);
    return digits;
}

// Recomputes the root of all trees from a signature. Each step takes its part of the signature and
// replaces the node that it starts from with the one that it ends at.
template <class Hash>
class RootBuilder {
public:
    RootBuilder(const SlhDsaParameters& set, ByteView seed) noexcept : m_set(set), m_hash(seed) {}

    // FIPS 205 section 8.2: the key that signed `choices`, the digits of the message's digest.
    void recoverForsKey(ByteView signature, ByteView choices, std::uint64_t tree,
                        std::uint32_t keyPair, std::span<unsigned char> node) noexcept {
        std::array<unsigned char, kMostForsTrees * kLongestNode> roots;
        m_address.setTree(0, tree);
        m_address.setType(ForsTree, keyPair);
        for (std::uint32_t i = 0; i < m_set.k; ++i) {
            const auto root = std::span(roots).subspan(i * m_set.n, m_set.n);
            const auto choice =
                static_cast<std::uint32_t>(readBits(choices, std::size_t{i} * m_set.a, m_set.a));
            // The trees are numbered through as if they stood side by side in one.
            const std::uint32_t leaf = (i << m_set.a) + choice;
            m_address.setPosition(0, leaf);
            m_hash.hashNode(m_address, take(signature, m_set.n), root);
            climb(take(signature, m_set.a * m_set.n), leaf, root);
        }
        m_address.setType(ForsRoots, keyPair);
        m_hash.hashNodes(m_address, std::span(roots).first(m_set.k * m_set.n), node);
    }

    // FIPS 205 section 7.2: through the trees of all layers.
    void recoverHypertreeRoot(ByteView signature, std::uint64_t tree, std::uint32_t leaf,
                              std::span<unsigned char> node) noexcept {
        for (unsigned int layer = 0; layer < m_set.d; ++layer) {
            m_address.setTree(layer, tree);
            recoverWotsKey(take(signature, m_set.chainCount() * m_set.n), leaf, node);
            m_address.setType(Tree);
            climb(take(signature, m_set.treeLevels() * m_set.n), leaf, node);
            leaf = static_cast<std::uint32_t>(tree & ((1U << m_set.treeLevels()) - 1));
            tree >>= m_set.treeLevels();
        }
    }

private:
    // FIPS 205 section 5.3: the one-time key that signed the node.
    void recoverWotsKey(ByteView signature, std::uint32_t keyPair,
                        std::span<unsigned char> node) noexcept {
        std::array<unsigned char, kMostChains * kLongestNode> ends;
        const auto digits = splitNode(node);
        m_address.setType(WotsHash, keyPair);
        for (std::uint32_t chain = 0; chain < m_set.chainCount(); ++chain) {
            const auto end = std::span(ends).subspan(chain * m_set.n, m_set.n);
            std::ranges::copy(take(signature, m_set.n), end.begin());
            for (std::uint32_t step = digits[chain]; step < kChainLength - 1; ++step) {
                m_address.setPosition(chain, step);
                m_hash.hashNode(m_address, end, end);
            }
        }
        m_address.setType(WotsKey, keyPair);
        m_hash.hashNodes(m_address, std::span(ends).first(m_set.chainCount() * m_set.n), node);
    }

    // From a leaf to the root of its tree. `path`: the sibling of each node on the way.
    void climb(ByteView path, std::uint32_t index, std::span<unsigned char> node) noexcept {
        std::array<unsigned char, 2 * kLongestNode> pair;
        const auto left = std::span(pair).first(m_set.n);
        const auto right = std::span(pair).subspan(m_set.n, m_set.n);
        for (std::uint32_t height = 1; !path.empty(); ++height) {
            const bool isRight = index % 2 != 0;
            std::ranges::copy(node, (isRight ? right : left).begin());
            std::ranges::copy(take(path, m_set.n), (isRight ? left : right).begin());
            index /= 2;
            m_address.setPosition(height, index);
            m_hash.hashPair(m_address, std::span(pair).first(2 * m_set.n), node);
        }
    }

    const SlhDsaParameters& m_set;
    Hash m_hash;
    typename Hash::Address m_address;
};

// Which variant, and the size of the context (FIPS 205 section 10.2).
constexpr unsigned char kPureHead[] = {0, 0};
constexpr unsigned char kPrehashHead[] = {1, 0};

// The digest of a message that is signed in its place, behind the digest's OID.
class Prehash {
public:
    Prehash(const SlhDsaParameters& set, ByteView message) noexcept {
        const bool isSmall = set.n == 16;
        m_size = kOidSize + (isSmall ? 32 : 64);
        const auto digest = std::span(m_octets).subspan(kOidSize, m_size - kOidSize);
        if (set.family == SlhDsaHashFamily::Shake) {
            m_octets[kOidSize - 1] = isSmall ? 11 : 12;  // id-shake128, id-shake256
            KeccakSponge sponge = isSmall ? KeccakSponge(Shake128()) : Shake256();
            sponge.absorb(message);
            sponge.squeeze(digest);
            return;
        }
        m_octets[kOidSize - 1] = isSmall ? 1 : 3;  // id-sha256, id-sha512
        const auto algorithm = isSmall ? DigestAlgorithm::Sha256 : DigestAlgorithm::Sha512;
        std::ranges::copy(computeDigest(algorithm, message).view(), digest.begin());
    }

    ByteView octets() const noexcept { return ByteView(m_octets).first(m_size); }

private:
    static constexpr std::size_t kOidSize = 11;

    // 2.16.840.1.101.3.4.2, and the last arc still to come.
    std::array<unsigned char, kOidSize + 64> m_octets{0x06, 0x09, 0x60, 0x86, 0x48,
                                                      0x01, 0x65, 0x03, 0x04, 0x02};
    std::size_t m_size;
};

// FIPS 205 section 9.3, slh_verify_internal; the message is in two parts.
template <class Hash>
bool verify(const SlhDsaParameters& set, ByteView publicKey, ByteView head, ByteView tail,
            ByteView signature) noexcept {
    const ByteView seed = publicKey.first(set.n), root = publicKey.subspan(set.n);
    const ByteView randomizer = take(signature, set.n);
    const ByteView forsSignature = take(signature, set.n * set.k * (1 + set.a));

    std::array<unsigned char, kLongestChoices> digest;
    ByteView rest =
        std::span(digest).first(set.forsDigestSize() + set.treeIndexSize() + set.leafIndexSize());
    Hash::hashMessage(randomizer, publicKey, head, tail, std::span(digest).first(rest.size()));
    const ByteView choices = take(rest, set.forsDigestSize());
    const std::uint64_t tree = readIndex(take(rest, set.treeIndexSize()), set.h - set.treeLevels());
    const auto leaf = static_cast<std::uint32_t>(readIndex(rest, set.treeLevels()));

    std::array<unsigned char, kLongestNode> buffer;
    const auto node = std::span(buffer).first(set.n);
    RootBuilder<Hash> builder(set, seed);
    builder.recoverForsKey(forsSignature, choices, tree, leaf, node);
    builder.recoverHypertreeRoot(signature, tree, leaf, node);
    return equalBytes(node, root);
}

bool verifyParts(const SlhDsaParameters& set, ByteView publicKey, ByteView head, ByteView tail,
                 ByteView signature) noexcept {
    if (set.family == SlhDsaHashFamily::Shake)
        return verify<SlhDsaShake>(set, publicKey, head, tail, signature);
    if (set.n == 16)
        return verify<SlhDsaSha2<Sha256>>(set, publicKey, head, tail, signature);
    return verify<SlhDsaSha2<Sha512>>(set, publicKey, head, tail, signature);
}

}  // namespace

bool verifySlhDsa(const SlhDsaParameters& set, SlhDsaVariant variant, ByteView publicKey,
                  ByteView message, ByteView signature) noexcept {
    if (publicKey.size() != set.publicKeySize() || signature.size() != set.signatureSize())
        return false;
    if (variant == SlhDsaVariant::Pure)
        return verifyParts(set, publicKey, kPureHead, message, signature);
    return verifyParts(set, publicKey, kPrehashHead, Prehash(set, message).octets(), signature);
}

}  // namespace certstore
