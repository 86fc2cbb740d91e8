#include "support/sync/ZorvenCritSec.h"

#ifdef CERTSTORE_CHECKED
#include <cstdlib>
#endif

void ZorvenCritSec::enterCriticalSection() noexcept {
    const std::thread::id self = std::this_thread::get_id();
    if (m_owner.load(std::memory_order_relaxed) == self) {
        ++m_depth;
        return;
    }
    m_mutex.lock();
    m_owner.store(self, std::memory_order_relaxed);
    m_depth = 1;
}

void ZorvenCritSec::leaveCriticalSection() noexcept {
    if (--m_depth != 0)
        return;
    m_owner.store(std::thread::id(), std::memory_order_relaxed);
    m_mutex.unlock();
}

void ZorvenCritSec::assertHeld() const noexcept {
#ifdef CERTSTORE_CHECKED
    if (m_owner.load(std::memory_order_relaxed) != std::this_thread::get_id())
        std::abort();
#endif
}
