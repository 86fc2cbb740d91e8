#pragma once

#include <cstdint>
#include <string_view>

namespace certstore {

// SipHash-1-3 (Aumasson and Bernstein) of `text`, under a key drawn once for the process. Whoever
// chooses the names in certificates cannot choose them to collide.
std::uint64_t keyedHash(std::string_view text) noexcept;

}  // namespace certstore
