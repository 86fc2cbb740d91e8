#pragma once

#include "support/sync/ZorvenCritSec.h"

// An object that is its own lock and counts its owners. The count starts at 0; the first owner's
// incRefCount makes it 1. Safe to change from several threads.
class RefCountedObject : public ZorvenCritSec {
public:
    void incRefCount() noexcept;

    // Gives one reference back. The last one destroys the object, on the calling thread.
    void decRefCount() noexcept;

    // How many references there are at this moment: for diagnosis, it may change right away.
    int getRefCount() const noexcept;

protected:
    RefCountedObject() noexcept = default;

private:
    std::atomic<int> m_refCount{0};
};
