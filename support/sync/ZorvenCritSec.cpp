#include "support/sync/ZorvenCritSec.h"

#include <cstdlib>

void ZorvenCritSec::waitForLock() noexcept {
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
