#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"

namespace certstore {

// Decryption with RC2 (RFC 2268), for old files alone: 40-bit keys were the rule. The time depends
// on the data, through tables that secret bytes index: this reads files at rest. The key schedule
// wipes itself.
class Rc2Decryptor {
public:
    static constexpr std::size_t kBlockSize = 8;
    static constexpr std::size_t kMaxKeySize = 128;
    static constexpr std::size_t kMaxEffectiveBits = 1024;

    Rc2Decryptor() = default;
    ~Rc2Decryptor() { wipe(m_words.data(), sizeof m_words); }
    Rc2Decryptor(const Rc2Decryptor&) = delete;
    Rc2Decryptor& operator=(const Rc2Decryptor&) = delete;

    // `key`: 1 to kMaxKeySize bytes; `effectiveBits`: 1 to kMaxEffectiveBits, the strength that the
    // key is cut down to. Otherwise false. To be called before anything is decrypted.
    bool setKey(ByteView key, std::size_t effectiveBits) noexcept;

    // Decrypts one block of kBlockSize bytes. `input` and `output` may be the same place.
    void decryptBlock(const unsigned char* input, unsigned char* output) const noexcept;

private:
    std::array<std::uint16_t, 64> m_words{};
};

}  // namespace certstore
