#pragma once

#include "support/buffers/DataBuffer.h"
#include "support/buffers/XString.h"
#include "support/log/LogBase.h"
#include "support/roots/ClsBase.h"
#include "support/roots/ProgressMonitor.h"
#include "support/roots/RootIndex.h"

// A set of root certificates in the making: loaded first, then activated for the process, for the
// application (TrustedRoots) or as the operating system's (SysTrustedRoots). Activated roots
// outlive it. Used by one thread at a time. Loading and activating may throw std::bad_alloc; roots
// done before stay, and doing it again adds the others.
// NOLINTNEXTLINE(*-virtual-class-destructor): deleteSelf destroys it
class ClsTrustedRoots : public ClsBase {
public:
    // A new empty object, the caller's, to be given back with deleteSelf. Null when it cannot be
    // made.
    static ClsTrustedRoots* createNewCls() noexcept;

    // Adds every certificate of a PEM file (at most 64 MiB). Anything may stand between the blocks;
    // a block that is no certificate is skipped and counted ("numCertsSkipped"), one that is there
    // already is not kept twice. `progress` may be null. False, with one error, when the file
    // cannot be read or holds no certificate, or the monitor aborts; certificates read before stay.
    bool loadCaCertsPem(const XString& path, ProgressMonitor* progress, LogBase& log);

    // Adds one DER certificate. False, logged, when the bytes are none.
    bool addCertDer(const DataBuffer& der, LogBase& log);

    int getNumCerts() const { return static_cast<int>(m_roots.size()); }

    // Makes these roots trusted by the application. Always true.
    bool activate(LogBase& log);

    // Makes these roots part of the system's. Always true.
    bool sysActivate(LogBase& log);

private:
    ClsTrustedRoots() = default;
    ~ClsTrustedRoots() override = default;

    bool addPemCerts(std::string_view text, ProgressMonitor* progress, LogBase& log);

    certstore::RootIndex m_roots;
};
