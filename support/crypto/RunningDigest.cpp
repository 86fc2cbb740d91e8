#include "support/crypto/RunningDigest.h"

#include <array>
#include <utility>

namespace certstore {
namespace {

template <std::size_t kIndex>
AnyHash makeHash() noexcept {
    return AnyHash(std::in_place_index<kIndex>);
}

template <std::size_t... kIndex>
constexpr auto listMakers(std::index_sequence<kIndex...>) {
    return std::array{makeHash<kIndex>...};
}

constexpr auto kMakers = listMakers(std::make_index_sequence<std::variant_size_v<AnyHash>>());

}  // namespace

RunningDigest::RunningDigest(DigestAlgorithm algorithm) noexcept
    : m_hash(kMakers[static_cast<std::size_t>(algorithm)]()) {}

void RunningDigest::update(ByteView data) noexcept {
    std::visit([&](auto& hash) { hash.update(data); }, m_hash);
}

void RunningDigest::finish(std::span<unsigned char> digest) noexcept {
    std::visit(
        [&]<class Hash>(Hash& hash) { hash.finish(digest.template first<Hash::kDigestSize>()); },
        m_hash);
}

}  // namespace certstore
