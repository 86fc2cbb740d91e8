#include "support/sync/RefCountedObject.h"

void RefCountedObject::incRefCount() noexcept {
    m_refCount.fetch_add(1, std::memory_order_relaxed);
}

void RefCountedObject::decRefCount() noexcept {
    // Release: what this owner wrote is done; acquire: the destroyer sees what all owners wrote.
    if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

int RefCountedObject::getRefCount() const noexcept {
    return m_refCount.load(std::memory_order_relaxed);
}
