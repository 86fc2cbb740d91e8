#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace certstore {

// Folds `blockCount` blocks of 64 bytes into the state, as BlockHash wants it.
using Sha1Compress = void (*)(std::array<std::uint32_t, 5>& state, const unsigned char* blocks,
                              std::size_t blockCount);
using Sha256Compress = void (*)(std::array<std::uint32_t, 8>& state, const unsigned char* blocks,
                                std::size_t blockCount);

// The function that does so by processor instructions; null where there are none, and portable code
// has to do it.
Sha1Compress sha1Instructions() noexcept;
Sha256Compress sha256Instructions() noexcept;

}  // namespace certstore
