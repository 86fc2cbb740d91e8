#include "support/roots/CaBundlePath.h"

#include <atomic>

namespace certstore {

namespace {

constexpr const char* kSystemPath = "/etc/ssl/certs/ca-certificates.crt";

// NOLINTNEXTLINE(*-global-variables): for tests
std::atomic<const char*> g_path{kSystemPath};

}  // namespace

const char* caBundlePath() noexcept {
    return g_path;
}

void setCaBundlePath(const char* path) noexcept {
    g_path = path ? path : kSystemPath;
}

}  // namespace certstore
