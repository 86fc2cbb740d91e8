#pragma once

#include <cstddef>

namespace certstore {

// Overwrites `size` bytes with zeros in a way that no optimiser removes, even when the memory is
// released right afterwards. `data` may be null when `size` is 0.
void wipe(void* data, std::size_t size) noexcept;

// Overwrites what functions called before, and returned from, may have left below the caller on the
// stack: copies that the compiler makes of values in registers. 16 KiB, twice what any computation
// here takes that has to be forgotten.
void wipeStackBelow() noexcept;

// Wipes a local that held something secret when its scope ends, on every path.
class WipeGuard {
public:
    WipeGuard(void* data, std::size_t size) noexcept : m_data(data), m_size(size) {}
    ~WipeGuard() { wipe(m_data, m_size); }
    WipeGuard(const WipeGuard&) = delete;
    WipeGuard& operator=(const WipeGuard&) = delete;

private:
    void* m_data;
    std::size_t m_size;
};

}  // namespace certstore
