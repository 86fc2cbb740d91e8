#include "support/sync/ZorvenCritSec.h"

#include <chrono>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

// A lookup holds its locks for some 50 ns, and a lock that each lookup hands to another core costs
// several times that. Who finds a lock taken therefore leaves its memory alone for as long as
// several lookups take, then for twice as long and so on: the holder's core keeps the lock, and
// does many lookups, in the meantime.
constexpr std::chrono::nanoseconds kFirstBackOff{1'000};
// A holder that takes longer parses or reads a file, and who waits for it should sleep.
constexpr std::chrono::nanoseconds kLastBackOff{32'000};

void leaveMemoryAlone(std::chrono::nanoseconds time) noexcept {
    for (const Clock::time_point end = Clock::now() + time; Clock::now() < end;) {
    }
}

}  // namespace

void ZorvenCritSec::waitForLock() noexcept {
    for (auto backOff = kFirstBackOff; backOff <= kLastBackOff; backOff *= 2) {
        leaveMemoryAlone(backOff);
        State free = State::Free;
        if (m_state.load(std::memory_order_relaxed) == State::Free
            && m_state.compare_exchange_strong(free, State::Held, std::memory_order_acquire,
                                               std::memory_order_relaxed))
            return;
    }
    // Taken as awaited, as others may sleep too: the worst is that one is woken in vain.
    while (m_state.exchange(State::Awaited, std::memory_order_acquire) != State::Free)
        m_state.wait(State::Awaited, std::memory_order_relaxed);
}

void ZorvenCritSec::wakeOne() noexcept {
    m_state.notify_one();
}

void ZorvenCritSec::abortUnlessHeld() const noexcept {
    if (m_owner.load(std::memory_order_relaxed) != &certstore::t_threadMark)
        std::abort();
}
