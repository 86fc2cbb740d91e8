#pragma once

#include <atomic>

// The two process-wide switches. Together they allow the operating system's CA bundle to be read;
// both are on until the application turns one off. May be changed at any time, from any thread.
class _zvSettings {
public:
    _zvSettings() = delete;

    // The system's CA roots may be trusted.
    // NOLINTNEXTLINE(*-global-variables): a switch
    static inline std::atomic<bool> m_trustSystemCaRoots{true};
    // The library may search the operating system's certificate stores by itself.
    // NOLINTNEXTLINE(*-global-variables): a switch
    static inline std::atomic<bool> m_autoSearchOsCertStores{true};
};
