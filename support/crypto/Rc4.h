#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/base/Wipe.h"

namespace certstore {

// The stream cipher RC4, for old files alone: its key stream is biased. The time depends on the
// data, through a table that secret bytes index: this reads files at rest. It wipes itself.
class Rc4 {
public:
    static constexpr std::size_t kMaxKeySize = 256;

    Rc4() = default;
    ~Rc4() { wipe(m_state.data(), m_state.size()); }
    Rc4(const Rc4&) = delete;
    Rc4& operator=(const Rc4&) = delete;

    // `key`: 1 to kMaxKeySize bytes, otherwise false. Begins the key stream anew. To be called
    // before anything else.
    bool setKey(ByteView key) noexcept;

    // Decrypts, or encrypts, as many bytes as both have, going on in the key stream. `output` may
    // be the place of `input`.
    void apply(ByteView input, std::span<unsigned char> output) noexcept;

private:
    std::array<unsigned char, 256> m_state{};
    unsigned char m_i = 0;
    unsigned char m_j = 0;
};

}  // namespace certstore
