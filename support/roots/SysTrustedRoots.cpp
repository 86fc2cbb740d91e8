#include "support/roots/SysTrustedRoots.h"

#include <mutex>

#include "support/roots/RootIndex.h"

namespace {

// Never destroyed: stores may outlive main.
certstore::RootIndex& roots() {
    // NOLINTNEXTLINE(*-global-variables): the process's one set
    static certstore::RootIndex& index = *new certstore::RootIndex;
    return index;
}

// The set and the flag change together: else a set emptied meanwhile could count as loaded.
// NOLINTNEXTLINE(*-global-variables): guards the process's one set
std::mutex g_change;

}  // namespace

bool SysTrustedRoots::getTrustedRootDer(const char* subjectDn, DataBuffer& der, LogBase&) {
    return subjectDn && roots().findBySubject(subjectDn, {}, der);
}

bool SysTrustedRoots::getTrustedRootDer_ski(const char* subjectKeyId, DataBuffer& der, LogBase&) {
    return subjectKeyId && roots().findBySubjectKeyId(subjectKeyId, der);
}

void SysTrustedRoots::addRoots(const certstore::RootIndex& added) {
    const std::lock_guard lock(g_change);
    roots().addAll(added);
    if (roots().size() != 0)
        m_alreadyLoaded = true;
}

void SysTrustedRoots::removeAll() {
    const std::lock_guard lock(g_change);
    roots().removeAll();
    m_alreadyLoaded = false;
}
