#include "support/crypto/InstructionSets.h"

#include <atomic>

#if defined(__x86_64__) && defined(__GNUC__)
#include <cpuid.h>
#endif

namespace certstore {
namespace {

struct InstructionSets {
    bool sha = false;
    bool aes = false;
};

#if defined(__x86_64__) && defined(__GNUC__)

// Bits of CPUID leaf 1, register ECX, and (the last one) of leaf 7, register EBX. The code for SHA
// also shuffles octets, which takes SSSE3.
constexpr unsigned kSsse3 = 1U << 9;
constexpr unsigned kAes = 1U << 25;
constexpr unsigned kSha = 1U << 29;

InstructionSets detect() noexcept {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0)
        return {};
    const unsigned basic = c;
    const bool hasLeaf7 = __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0;
    const bool hasSha = hasLeaf7 && (b & kSha) != 0;
    return {hasSha && (basic & kSsse3) != 0, (basic & kAes) != 0};
}

#else

InstructionSets detect() noexcept {
    return {};
}

#endif

const InstructionSets& present() noexcept {
    static const InstructionSets sets = detect();
    return sets;
}

// NOLINTNEXTLINE(*-global-variables): for tests
std::atomic<bool> everythingHidden = false;

bool hidden() noexcept {
    return everythingHidden.load(std::memory_order_relaxed);
}

}  // namespace

bool haveShaInstructions() noexcept {
    return present().sha && !hidden();
}

bool haveAesInstructions() noexcept {
    return present().aes && !hidden();
}

void hideInstructions(bool hide) noexcept {
    everythingHidden.store(hide, std::memory_order_relaxed);
}

}  // namespace certstore
