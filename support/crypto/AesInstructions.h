#pragma once

#include <cstddef>
#include <cstdint>

namespace certstore {

// AES decryption by processor instructions, of the 16 bytes at `input` to those at `output`. Only
// where haveAesInstructions() says so. `roundKeys`: the `rounds` + 1 of the equivalent inverse
// cipher (FIPS 197 section 5.3.5) in the order of their use, four words of a column each.
void decryptAesByInstructions(const std::uint32_t* roundKeys, std::size_t rounds,
                              const unsigned char* input, unsigned char* output) noexcept;

}  // namespace certstore
