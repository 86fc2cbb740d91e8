#pragma once

#include <cstddef>
#include <utility>

namespace certstore {

// Calls body(0), body(1) .. body(kCount - 1) with compile-time numbers. Compilers leave short carry
// chains as loops at usual settings, which costs long arithmetic half of its speed.
template <std::size_t kCount, class Body>
[[gnu::always_inline]] constexpr void unroll(Body&& body) {
    [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) __attribute__((always_inline)) {
        (body(std::integral_constant<std::size_t, kIndex>{}), ...);
    }
    (std::make_index_sequence<kCount>());
}

}  // namespace certstore
