#include "support/base/Wipe.h"

#include <cstring>

namespace certstore {

namespace {

// Read anew at every call, so the compiler cannot know that it is memset, and what a function that
// it does not know writes it must leave in place.
// NOLINTNEXTLINE(*-global-variables): what it points to is a function
void* (*const volatile g_overwrite)(void*, int, std::size_t) = std::memset;

}  // namespace

void wipe(void* data, std::size_t size) noexcept {
    if (size != 0)
        g_overwrite(data, 0, size);
}

[[gnu::noinline]] void wipeStackBelow() noexcept {
    unsigned char below[std::size_t{16} << 10];
    wipe(below, sizeof below);
}

}  // namespace certstore
