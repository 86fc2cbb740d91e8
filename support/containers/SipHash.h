#pragma once

#include <cstdint>
#include <string_view>

namespace certstore {

// A hash of `text` under a key drawn once for the process. Whoever chooses the names in
// certificates cannot choose them to collide.
//
// It is SipHash-1-3 (Aumasson and Bernstein), which takes six cycles for each eight bytes as every
// step waits for the last, of what NH (Black, Halevi, Krawczyk, Krovetz and Rogaway; RFC 4418 has
// it with shorter words) makes of each 256 bytes: 16 bytes, equal for two different texts with a
// probability of 2^-64, by multiplications that do not wait.
std::uint64_t keyedHash(std::string_view text) noexcept;

}  // namespace certstore
