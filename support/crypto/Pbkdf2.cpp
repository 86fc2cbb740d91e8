#include "support/crypto/Pbkdf2.h"

#include <algorithm>
#include <array>
#include <limits>

#include "support/base/Wipe.h"
#include "support/crypto/BigEndian.h"
#include "support/crypto/Hmac.h"

namespace certstore {
namespace {

using Tag = std::array<unsigned char, kMaxDigestSize>;

// The function F of RFC 8018: the sum of `iterations` tags, each of which is that of the one
// before.
void deriveBlock(Hmac& hmac, ByteView salt, std::uint32_t blockNumber, std::uint64_t iterations,
                 Tag& sum) noexcept {
    unsigned char number[4];
    storeBigEndian(blockNumber, number);
    Tag tag;
    const WipeGuard guard(tag.data(), tag.size());
    hmac.update(salt);
    hmac.update(number);
    hmac.finish(tag);
    sum = tag;
    for (std::uint64_t i = 1; i < iterations; ++i) {
        hmac.update(ByteView(tag).first(hmac.size()));
        hmac.finish(tag);
        for (std::size_t j = 0; j < hmac.size(); ++j)
            sum[j] ^= tag[j];
    }
}

}  // namespace

bool derivePbkdf2(DigestAlgorithm algorithm, ByteView password, ByteView salt,
                  std::uint64_t iterations, std::span<unsigned char> key) noexcept {
    const std::size_t size = digestSize(algorithm);
    if (iterations == 0 || key.size() / size >= std::numeric_limits<std::uint32_t>::max())
        return false;
    Hmac hmac(algorithm, password);
    Tag sum;
    const WipeGuard guard(sum.data(), sum.size());
    for (std::uint32_t blockNumber = 1; !key.empty(); ++blockNumber) {
        deriveBlock(hmac, salt, blockNumber, iterations, sum);
        const std::size_t used = std::min(size, key.size());
        std::copy_n(sum.begin(), used, key.begin());
        key = key.subspan(used);
    }
    return true;
}

}  // namespace certstore
