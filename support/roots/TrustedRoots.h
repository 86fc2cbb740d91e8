#pragma once

#include "support/buffers/DataBuffer.h"
#include "support/log/LogBase.h"

namespace certstore {
class RootIndex;
}

// The root certificates that the application trusts, one set for the process, empty at first.
// Filled with ClsTrustedRoots::activate. The set is never destroyed; any thread may use it at any
// time. Of several roots that fit, the first activated answers. Operations may throw
// std::bad_alloc.
class TrustedRoots {
public:
    TrustedRoots() = delete;

    // Looks for a root with this subject DN (no-tags form) and puts its DER in place of what `der`
    // held. `keyType`, as X509Certificate::appendCertKeyType writes it or null, is a wish: a root
    // with that key type comes first, else any. `subjectKeyId`, upper-case hexadecimal or null, is
    // a condition. `found` becomes the result. False, silently, when there is none or the DN is
    // null.
    static bool isTrustedRoot(const char* keyType, const char* subjectKeyId, const char* subjectDn,
                              DataBuffer& der, bool& found, LogBase& log);

    // The same by subject key identifier, upper-case hexadecimal without separators.
    static bool isTrustedRoot_ski(const char* subjectKeyId, DataBuffer& der, bool& found,
                                  LogBase& log);

    // What ClsTrustedRoots does when it is activated: adds roots behind those that are there; one
    // that is there already is not kept twice.
    static void addRoots(const certstore::RootIndex& added);

    // Empties the set. Roots that stores have taken from it stay in those stores.
    static void removeAll();
};
