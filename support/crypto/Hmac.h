#pragma once

#include <cstddef>
#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"
#include "support/crypto/RunningDigest.h"

namespace certstore {

// HMAC (RFC 2104) over any digest. The key is folded in once: each message after that costs two
// compressions more than its own blocks. It wipes itself.
class Hmac {
public:
    // `key`: any number of bytes, not needed afterwards.
    Hmac(DigestAlgorithm algorithm, ByteView key) noexcept;

    // Appends `data` to the message.
    void update(ByteView data) noexcept { m_running.update(data); }

    // Writes the tag to the first size() bytes of `tag`, which has at least as many, and begins the
    // next message under the same key.
    void finish(std::span<unsigned char> tag) noexcept;

    // Bytes in a tag: those of the digest.
    std::size_t size() const noexcept { return m_size; }

private:
    std::size_t m_size;
    RunningDigest m_innerStart;  // has taken in the key for the message
    RunningDigest m_outerStart;  // has taken in the key for the inner digest
    RunningDigest m_running;
};

}  // namespace certstore
