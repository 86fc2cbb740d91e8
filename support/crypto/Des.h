#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"

namespace certstore {

// DES (FIPS 46-3) with one key: the building block of Triple DES, and for old files alone, because
// its 56 bits of key can be tried out. The time depends on the data, through tables that secret
// bits index: this reads files at rest. The key schedule wipes itself.
class DesKey {
public:
    static constexpr std::size_t kBlockSize = 8;
    static constexpr std::size_t kKeySize = 8;

    DesKey() = default;
    ~DesKey() { wipe(m_roundKeys.data(), sizeof m_roundKeys); }
    DesKey(const DesKey&) = delete;
    DesKey& operator=(const DesKey&) = delete;

    // `key`: kKeySize bytes, otherwise false; their parity bits are not looked at. To be called
    // before anything else.
    bool setKey(ByteView key) noexcept;

    // One block as a number, its first octet in the highest bits.
    std::uint64_t encrypt(std::uint64_t block) const noexcept;
    std::uint64_t decrypt(std::uint64_t block) const noexcept;

    // Decrypts one block of kBlockSize bytes. `input` and `output` may be the same place.
    void decryptBlock(const unsigned char* input, unsigned char* output) const noexcept;

private:
    using RoundKey = std::array<unsigned char, 8>;  // six bits for each S-box

    std::array<RoundKey, 16> m_roundKeys{};
};

}  // namespace certstore
