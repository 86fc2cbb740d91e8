#include "support/crypto/Digest.h"

#include <array>
#include <utility>

#include "support/crypto/RunningDigest.h"

namespace certstore {
namespace {

template <class Hash>
void hashAll(ByteView data, unsigned char* digest) noexcept {
    Hash hash;
    hash.update(data);
    hash.finish(std::span<unsigned char, Hash::kDigestSize>(digest, Hash::kDigestSize));
}

struct Row {
    std::size_t size;
    std::size_t blockSize;
    void (*hashAll)(ByteView data, unsigned char* digest) noexcept;
};

template <class Hash>
constexpr Row rowFor() {
    static_assert(Hash::kDigestSize <= kMaxDigestSize && Hash::kBlockSize <= kMaxDigestBlockSize);
    return {Hash::kDigestSize, Hash::kBlockSize, hashAll<Hash>};
}

template <std::size_t... kIndex>
constexpr auto listRows(std::index_sequence<kIndex...>) {
    return std::array{rowFor<std::variant_alternative_t<kIndex, AnyHash>>()...};
}

constexpr auto kRows = listRows(std::make_index_sequence<std::variant_size_v<AnyHash>>());

constexpr const Row& rowOf(DigestAlgorithm algorithm) {
    return kRows[static_cast<std::size_t>(algorithm)];
}

static_assert(static_cast<std::size_t>(DigestAlgorithm::Md5) + 1 == kRows.size());
static_assert(rowOf(DigestAlgorithm::Md5).hashAll == hashAll<Md5>);
static_assert(rowOf(DigestAlgorithm::Sha512_256).hashAll == hashAll<Sha512_256>);

}  // namespace

std::size_t digestSize(DigestAlgorithm algorithm) noexcept {
    return rowOf(algorithm).size;
}

std::size_t digestBlockSize(DigestAlgorithm algorithm) noexcept {
    return rowOf(algorithm).blockSize;
}

DigestValue computeDigest(DigestAlgorithm algorithm, ByteView data) noexcept {
    DigestValue digest{};
    digest.size = rowOf(algorithm).size;
    rowOf(algorithm).hashAll(data, digest.bytes);
    return digest;
}

}  // namespace certstore
