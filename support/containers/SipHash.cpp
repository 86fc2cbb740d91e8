#include "support/containers/SipHash.h"

#include <bit>
#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace certstore {

namespace {

struct Key {
    std::uint64_t k0, k1;
};

Key drawKey() noexcept {
    try {
        std::random_device source;
        const auto draw = [&source] { return std::uint64_t{source()} << 32 | source(); };
        return {draw(), draw()};
    } catch (const std::exception&) {
        // No random source: what an outsider is least likely to know.
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        return {static_cast<std::uint64_t>(now),
                static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&drawKey))};
    }
}

struct State {
    std::uint64_t v0, v1, v2, v3;

    void round() noexcept {
        v0 += v1;
        v1 = std::rotl(v1, 13) ^ v0;
        v0 = std::rotl(v0, 32);
        v2 += v3;
        v3 = std::rotl(v3, 16) ^ v2;
        v0 += v3;
        v3 = std::rotl(v3, 21) ^ v0;
        v2 += v1;
        v1 = std::rotl(v1, 17) ^ v2;
        v2 = std::rotl(v2, 32);
    }

    void absorb(std::uint64_t word) noexcept {
        v3 ^= word;
        round();
        v0 ^= word;
    }
};

}  // namespace

std::uint64_t keyedHash(std::string_view text) noexcept {
    static const Key key = drawKey();
    State state{key.k0 ^ 0x736f6d6570736575, key.k1 ^ 0x646f72616e646f6d,
                key.k0 ^ 0x6c7967656e657261, key.k1 ^ 0x7465646279746573};
    const char* at = text.data();
    const std::uint64_t length = std::uint64_t{text.size()} << 56;
    std::size_t left = text.size();
    std::uint64_t word;
    // In host order: hashes never leave the process, so all that matters is that they agree in it.
    for (; left >= sizeof word; at += sizeof word, left -= sizeof word) {
        std::memcpy(&word, at, sizeof word);
        state.absorb(word);
    }
    word = 0;
    if (left != 0)
        std::memcpy(&word, at, left);
    state.absorb(word ^ length);
    state.v2 ^= 0xff;
    state.round();
    state.round();
    state.round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace certstore
