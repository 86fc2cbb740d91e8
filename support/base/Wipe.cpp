#include "support/base/Wipe.h"

#include <cstring>

namespace certstore {

void wipe(void* data, std::size_t size) noexcept {
    if (size == 0)
        return;
    std::memset(data, 0, size);
    // The empty statement claims to read the memory, so the compiler must leave the zeros there.
    asm volatile("" : : "r"(data) : "memory");
}

}  // namespace certstore
