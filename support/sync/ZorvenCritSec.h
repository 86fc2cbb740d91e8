#pragma once

#include <atomic>

namespace certstore {

// Its address is an id of the thread that asks. One for the whole process, whatever visibility its
// shared objects are built with: a lock entered in one may be entered again in another.
// NOLINTNEXTLINE(*-global-variables): only its address counts
[[gnu::visibility("default")]] inline thread_local constinit char t_threadMark = 0;

}  // namespace certstore

// A lock that the thread holding it may take again; whoever derives from it is its own lock.
// Taken through a CritSecExitor.
//
// A lookup takes two of these and is short, so both ways are inline: one atomic exchange each while
// nobody else wants the lock. Who must wait looks again at growing intervals, for some 60 us in
// all, and then sleeps; nobody is served in the order in which he came.
class ZorvenCritSec {
public:
    ZorvenCritSec() noexcept = default;
    virtual ~ZorvenCritSec() = default;

    ZorvenCritSec(const ZorvenCritSec&) = delete;
    ZorvenCritSec& operator=(const ZorvenCritSec&) = delete;

    void enterCriticalSection() noexcept;
    void leaveCriticalSection() noexcept;

    // In a checked build, stops the program when the calling thread does not hold this lock.
    void assertHeld() const noexcept {
#ifdef CERTSTORE_CHECKED
        abortUnlessHeld();
#endif
    }

private:
    enum class State : int { Free, Held, Awaited };

    void waitForLock() noexcept;
    void wakeOne() noexcept;
    void abortUnlessHeld() const noexcept;

    std::atomic<State> m_state{State::Free};
    unsigned int m_depth = 0;
    // Only the holder ever finds its own mark here, so a relaxed read decides re-entry.
    std::atomic<const char*> m_owner{nullptr};
};

inline void ZorvenCritSec::enterCriticalSection() noexcept {
    const char* const self = &certstore::t_threadMark;
    if (m_owner.load(std::memory_order_relaxed) == self) {
        ++m_depth;
        return;
    }
    State free = State::Free;
    if (!m_state.compare_exchange_strong(free, State::Held, std::memory_order_acquire,
                                         std::memory_order_relaxed))
        waitForLock();
    m_owner.store(self, std::memory_order_relaxed);
    m_depth = 1;
}

inline void ZorvenCritSec::leaveCriticalSection() noexcept {
    if (--m_depth != 0)
        return;
    m_owner.store(nullptr, std::memory_order_relaxed);
    if (m_state.exchange(State::Free, std::memory_order_release) == State::Awaited)
        wakeOne();
}

// Holds a ZorvenCritSec from construction to the end of the scope.
class CritSecExitor {
public:
    explicit CritSecExitor(ZorvenCritSec& lock) noexcept : m_lock(lock) {
        m_lock.enterCriticalSection();
    }
    ~CritSecExitor() { m_lock.leaveCriticalSection(); }

    CritSecExitor(const CritSecExitor&) = delete;
    CritSecExitor& operator=(const CritSecExitor&) = delete;

private:
    ZorvenCritSec& m_lock;
};
