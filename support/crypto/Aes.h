#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"

namespace certstore {

// Decryption with AES-128, AES-192 and AES-256 (FIPS 197). Where the processor has no instructions
// for it, the time depends on the data, through tables that secret bytes index: this reads files at
// rest, where nobody is there to watch the clock. The key schedule wipes itself.
class AesDecryptor {
public:
    static constexpr std::size_t kBlockSize = 16;

    AesDecryptor() = default;
    ~AesDecryptor() { wipe(m_roundKeys.data(), sizeof m_roundKeys); }
    AesDecryptor(const AesDecryptor&) = delete;
    AesDecryptor& operator=(const AesDecryptor&) = delete;

    // `key`: 16, 24 or 32 bytes, otherwise false. To be called before anything is decrypted.
    bool setKey(ByteView key) noexcept;

    // Decrypts one block of kBlockSize bytes. `input` and `output` may be the same place.
    void decryptBlock(const unsigned char* input, unsigned char* output) const noexcept;

private:
    static constexpr std::size_t kMaxRounds = 14;

    // Of the equivalent inverse cipher, in the order in which decryption uses them. Words hold the
    // first octet of a column in their lowest bits.
    std::array<std::uint32_t, 4 * (kMaxRounds + 1)> m_roundKeys{};
    std::size_t m_rounds = 0;
    bool m_useInstructions = false;
};

}  // namespace certstore
