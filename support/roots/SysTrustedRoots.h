#pragma once

#include <atomic>

#include "support/buffers/DataBuffer.h"
#include "support/log/LogBase.h"

namespace certstore {
class RootIndex;
}

// The operating system's root certificates, one set for the process, filled by
// ClsTrustedRoots::sysActivate. The set is never destroyed; any thread may use it at any time. Of
// several roots that fit, the first activated answers. Operations may throw std::bad_alloc.
class SysTrustedRoots {
public:
    SysTrustedRoots() = delete;

    // Puts the DER of the root with this subject DN (no-tags form) in place of what `der` held.
    // False, silently, when there is none or the argument is null.
    static bool getTrustedRootDer(const char* subjectDn, DataBuffer& der, LogBase& log);

    // The same by subject key identifier, upper-case hexadecimal without separators.
    static bool getTrustedRootDer_ski(const char* subjectKeyId, DataBuffer& der, LogBase& log);

    // What ClsTrustedRoots does when it is activated: adds roots behind those that are there; one
    // that is there already is not kept twice. Sets m_alreadyLoaded when the set then holds any,
    // but not when it throws: what is missing is read again.
    static void addRoots(const certstore::RootIndex& added);

    // Empties the set and clears m_alreadyLoaded: the next miss reads the CA bundle again.
    static void removeAll();

    // The set holds roots; the CA bundle is not read again.
    // NOLINTNEXTLINE(*-global-variables): it is of the set
    static inline std::atomic<bool> m_alreadyLoaded{false};
};
