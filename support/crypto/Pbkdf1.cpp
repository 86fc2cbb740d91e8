#include "support/crypto/Pbkdf1.h"

#include <algorithm>
#include <array>

#include "support/base/Wipe.h"
#include "support/crypto/RunningDigest.h"

namespace certstore {

bool derivePbkdf1(DigestAlgorithm algorithm, ByteView password, ByteView salt,
                  std::uint64_t iterations, std::span<unsigned char> key) noexcept {
    if (algorithm != DigestAlgorithm::Md5 && algorithm != DigestAlgorithm::Sha1)
        return false;
    const std::size_t size = digestSize(algorithm);
    if (iterations == 0 || key.size() > size)
        return false;
    std::array<unsigned char, kMaxDigestSize> digest;
    const WipeGuard guard(digest.data(), digest.size());
    const RunningDigest fresh(algorithm);
    RunningDigest running(algorithm);
    running.update(password);
    running.update(salt);
    running.finish(digest);
    for (std::uint64_t i = 1; i < iterations; ++i) {
        running = fresh;
        running.update(ByteView(digest).first(size));
        running.finish(digest);
    }
    std::copy_n(digest.begin(), key.size(), key.begin());
    return true;
}

}  // namespace certstore
