#include "tests/common/WatchedMemory.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "support/base/Wipe.h"

namespace watched {

namespace {

// Allocations that still succeed; negative when all do.
thread_local long t_left = -1, t_failed = 0;
thread_local Failing t_failing = Failing::Once;

// Pieces of secrets, masked, each at the first free place from where its bits say. Zero is none.
using Word = std::uint64_t;
constexpr Word kMask = 0x5bd1e995a7c3f10d;
constexpr std::size_t kPlaces = 1 << 14;
Word g_pieces[kPlaces];
std::atomic<bool> g_knowsSecrets{false};

enum class Purpose { Count, Learn };

// Not checked by sanitizers, which would make it ten times slower.
__attribute__((no_sanitize("address", "undefined"))) std::size_t countIn(const unsigned char* bytes,
                                                                         std::size_t size,
                                                                         Purpose purpose) {
    std::size_t count = 0;
    for (std::size_t end = sizeof(Word); end <= size; ++end, ++bytes) {
        Word word;
        __builtin_memcpy(&word, bytes, sizeof word);
        word ^= kMask;
        std::size_t at = word * 0x9e3779b97f4a7c15 >> 50;
        while (g_pieces[at] != 0 && g_pieces[at] != word)
            at = (at + 1) % kPlaces;
        count += g_pieces[at] != 0;
        if (purpose == Purpose::Learn)
            g_pieces[at] = word;
    }
    return count;
}

// In front of each block, for its size. All blocks are aligned to it.
constexpr std::size_t kHeader = 64;

// Not inline: the compiler must take this and the next for what they replace.
[[gnu::noinline]] void* give(std::size_t size) noexcept {
    void* block = nullptr;
    if (t_left == 0) {
        ++t_failed;
        t_left = t_failing == Failing::Once ? -1 : 0;
        return nullptr;
    }
    t_left -= t_left > 0;
    if (posix_memalign(&block, kHeader, size + kHeader) != 0)
        return nullptr;
    ++g_liveBlocks;
    std::memcpy(block, &size, sizeof size);
    return static_cast<unsigned char*>(block) + kHeader;
}

[[gnu::noinline]] void takeBack(void* place) noexcept {
    if (!place)
        return;
    auto* const bytes = static_cast<unsigned char*>(place);
    std::size_t size;
    std::memcpy(&size, bytes - kHeader, sizeof size);
    if (g_knowsSecrets)
        g_foundWhenFreed += countIn(bytes, size, Purpose::Count);
    --g_liveBlocks;
    std::free(bytes - kHeader);
}

void* giveOrThrow(std::size_t size) {
    void* const place = give(size);
    return place ? place : throw std::bad_alloc();
}

}  // namespace

long runFailing(long n, Failing failing, const std::function<void()>& operation) {
    t_left = n - 1;
    t_failed = 0;
    t_failing = failing;
    try {
        operation();
    } catch (const std::bad_alloc&) {
    }
    t_left = -1;
    return t_failed;
}

void learnSecret(certstore::ByteView secret) {
    g_knowsSecrets = true;
    std::array<unsigned char, sizeof(Word)> piece;
    const certstore::WipeGuard guard(piece.data(), piece.size());
    for (auto at = secret.begin(); at + piece.size() <= secret.end(); at += piece.size()) {
        std::copy_n(at, piece.size(), piece.begin());
        countIn(piece.data(), piece.size(), Purpose::Learn);
        std::copy_n(secret.rbegin() + (at - secret.begin()), piece.size(), piece.begin());
        countIn(piece.data(), piece.size(), Purpose::Learn);
    }
}

void forgetSecrets() {
    g_knowsSecrets = false;
    std::fill_n(g_pieces, kPlaces, 0);
}

std::size_t countInProcess() {
    // Sanitizers reserve more at a time, for what is no copy of anything.
    constexpr unsigned long kLargestMapping = 1UL << 27;
    static std::array<unsigned char, 1 << 16> part;
    std::FILE* const maps = std::fopen("/proc/self/maps", "r");
    // Read as a file, which no sanitizer minds.
    const int memory = open("/proc/self/mem", O_RDONLY);
    char line[512], writable;
    std::size_t count = 0;
    for (unsigned long begin, end; std::fgets(line, sizeof line, maps);) {
        if (std::sscanf(line, "%lx-%lx r%c", &begin, &end, &writable) != 3 || writable != 'w'
            || end - begin > kLargestMapping)
            continue;
        // What lies across two parts is in both.
        for (; begin < end; begin += part.size() - sizeof(Word)) {
            const std::size_t size = std::min<std::size_t>(part.size(), end - begin);
            if (pread(memory, part.data(), size, static_cast<off_t>(begin)) > 0)
                count += countIn(part.data(), size, Purpose::Count);
            part.fill(0);
        }
    }
    close(memory);
    std::fclose(maps);
    return count;
}

}  // namespace watched

// Also the forms that come through others by themselves: they do not under sanitizers.
// clang-format off
using watched::give, watched::giveOrThrow, watched::takeBack, std::size_t, std::align_val_t;
void* operator new(size_t size) { return giveOrThrow(size); }
void* operator new[](size_t size) { return giveOrThrow(size); }
void* operator new(size_t size, align_val_t) { return giveOrThrow(size); }
void* operator new[](size_t size, align_val_t) { return giveOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return give(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return give(size); }
void operator delete(void* place) noexcept { takeBack(place); }
void operator delete[](void* place) noexcept { takeBack(place); }
void operator delete(void* place, size_t) noexcept { takeBack(place); }
void operator delete[](void* place, size_t) noexcept { takeBack(place); }
void operator delete(void* place, align_val_t) noexcept { takeBack(place); }
void operator delete[](void* place, align_val_t) noexcept { takeBack(place); }
void operator delete(void* place, size_t, align_val_t) noexcept { takeBack(place); }
void operator delete[](void* place, size_t, align_val_t) noexcept { takeBack(place); }
// clang-format on
