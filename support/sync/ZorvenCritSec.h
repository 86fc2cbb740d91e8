#pragma once

#include <atomic>
#include <mutex>
#include <thread>

// A lock that the thread holding it may take again; whoever derives from it is its own lock.
// Taken through a CritSecExitor.
class ZorvenCritSec {
public:
    ZorvenCritSec() noexcept = default;
    virtual ~ZorvenCritSec() = default;

    ZorvenCritSec(const ZorvenCritSec&) = delete;
    ZorvenCritSec& operator=(const ZorvenCritSec&) = delete;

    void enterCriticalSection() noexcept;
    void leaveCriticalSection() noexcept;

    // In a checked build, stops the program when the calling thread does not hold this lock.
    void assertHeld() const noexcept;

private:
    std::mutex m_mutex;
    // Only the holder ever finds its own id here, so a relaxed read decides re-entry.
    std::atomic<std::thread::id> m_owner{};
    unsigned int m_depth = 0;
};

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
