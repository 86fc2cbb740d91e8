#include "support/containers/SipHash.h"

#include <algorithm>
#include <array>
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

    explicit State(const Key& key) noexcept
        : v0(key.k0 ^ 0x736f6d6570736575),
          v1(key.k1 ^ 0x646f72616e646f6d),
          v2(key.k0 ^ 0x6c7967656e657261),
          v3(key.k1 ^ 0x7465646279746573) {}

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

    std::uint64_t finish() noexcept {
        v2 ^= 0xff;
        round();
        round();
        round();
        return v0 ^ v1 ^ v2 ^ v3;
    }
};

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kPair = 2 * kWord;
// Longer than most names, so that one of these is all that a text comes to.
constexpr std::size_t kBlock = 256;

// In host order: hashes never leave the process, so all that matters is that they agree in it.
std::uint64_t wordAt(const char* at) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, at, kWord);
    return word;
}

// The keys of both hashes.
struct Secret {
    Key key = drawKey();
    std::array<std::uint64_t, kBlock / kWord> block;

    Secret() noexcept {
        for (std::size_t i = 0; i < block.size(); ++i) {
            State state(key);
            state.absorb(i);
            block[i] = state.finish();
        }
    }
};

#ifdef __SIZEOF_INT128__

__extension__ typedef unsigned __int128 DoubleWord;

// Puts the NH of `size` bytes into `state`. The last pair ends with them and may begin before them.
void absorbBlock(State& state, const Secret& secret, const char* begin, std::size_t size) noexcept {
    DoubleWord sum = 0;
    const std::uint64_t* key = secret.block.data();
    const auto addPair = [&sum, &key](const char* pair) {
        sum += DoubleWord{wordAt(pair) + key[0]} * (wordAt(pair + kWord) + key[1]);
        key += 2;
    };
    const char* const last = begin + size - kPair;
    for (; begin < last; begin += kPair)
        addPair(begin);
    addPair(last);
    state.absorb(static_cast<std::uint64_t>(sum));
    state.absorb(static_cast<std::uint64_t>(sum >> 64));
}

#else

// Without a product of that width, SipHash takes the words themselves.
void absorbBlock(State& state, const Secret&, const char* begin, std::size_t size) noexcept {
    const char* const last = begin + size - kWord;
    for (; begin < last; begin += kWord)
        state.absorb(wordAt(begin));
    state.absorb(wordAt(last));
}

#endif

}  // namespace

std::uint64_t keyedHash(std::string_view text) noexcept {
    static const Secret secret;
    State state(secret.key);
    // First, while nothing waits for it yet.
    state.absorb(text.size());
    const char* at = text.data();
    std::size_t left = text.size();
    for (; left > kBlock; at += kBlock, left -= kBlock)
        absorbBlock(state, secret, at, kBlock);
    std::array<char, kPair> padded{};
    if (text.size() < kPair) {
        std::copy_n(at, left, padded.data());
        at = padded.data();
        left = kPair;
    }
    absorbBlock(state, secret, at, left);
    return state.finish();
}

}  // namespace certstore
