#pragma once

#include <cstddef>
#include <span>
#include <variant>

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"
#include "support/crypto/Md5.h"
#include "support/crypto/Sha1.h"
#include "support/crypto/Sha2.h"
#include "support/crypto/Sha3.h"

namespace certstore {

// A hash of any algorithm, in the order of DigestAlgorithm.
using AnyHash = std::variant<Sha1, Sha224, Sha256, Sha384, Sha512, Sha512_224, Sha512_256, Sha3_224,
                             Sha3_256, Sha3_384, Sha3_512, Md5>;

// A digest of an algorithm known at run time, over a message that comes in pieces. Copies go on
// independently: one may keep a state and start from it many times. It wipes itself.
class RunningDigest {
public:
    explicit RunningDigest(DigestAlgorithm algorithm) noexcept;

    // Appends `data` to the message.
    void update(ByteView data) noexcept;

    // Writes the digest to the first digestSize() bytes of `digest`, which has at least as many.
    // The object is spent afterwards, until another is assigned to it.
    void finish(std::span<unsigned char> digest) noexcept;

private:
    AnyHash m_hash;
};

}  // namespace certstore
