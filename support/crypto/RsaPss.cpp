#include "support/crypto/RsaPss.h"

#include <algorithm>
#include <array>
#include <bit>

#include "support/crypto/BigEndian.h"
#include "support/crypto/DigestOids.h"
#include "support/crypto/Limbs.h"
#include "support/crypto/RunningDigest.h"

namespace certstore {
namespace {

// MGF1 (RFC 8017 appendix B.2.1): takes the mask that `seed` gives off all of `data`.
void unmask(DigestAlgorithm algorithm, ByteView seed, std::span<unsigned char> data) noexcept {
    std::array<unsigned char, kMaxDigestSize + 4> input;
    std::copy(seed.begin(), seed.end(), input.begin());
    const ByteView block(input.data(), seed.size() + 4);
    for (std::uint32_t counter = 0; !data.empty(); ++counter) {
        storeBigEndian(counter, &input[seed.size()]);
        const DigestValue mask = computeDigest(algorithm, block);
        const std::size_t size = std::min(mask.size, data.size());
        for (std::size_t i = 0; i < size; ++i)
            data[i] ^= mask.bytes[i];
        data = data.subspan(size);
    }
}

// The digest of eight zeros, the message's digest and the salt.
DigestValue digestWithSalt(DigestAlgorithm algorithm, ByteView digest, ByteView salt) noexcept {
    constexpr unsigned char kZeros[8] = {};
    DigestValue value{};
    value.size = digestSize(algorithm);
    RunningDigest running(algorithm);
    running.update(kZeros);
    running.update(digest);
    running.update(salt);
    running.finish(value.bytes);
    return value;
}

// EMSA-PSS-VERIFY (RFC 8017 section 9.1.2): masked padding and salt, a digest, 0xbc. `unusedBits`
// are those in the first octet of `encoded` that its number does not reach.
bool isPssEncoding(const RsaPssOptions& options, ByteView digest, std::span<unsigned char> encoded,
                   int unusedBits) noexcept {
    const std::size_t saltSize = options.saltSize;
    if (encoded.size() < digest.size() + 2 || encoded.size() - digest.size() - 2 < saltSize)
        return false;
    const std::span<unsigned char> block = encoded.first(encoded.size() - digest.size() - 1);
    const ByteView saltedDigest = encoded.subspan(block.size(), digest.size());
    const auto usedMask = static_cast<unsigned char>(0xff >> unusedBits);
    if (encoded.back() != 0xbc || (block[0] & ~usedMask) != 0)
        return false;

    unmask(options.maskDigest, saltedDigest, block);
    block[0] &= usedMask;
    const std::size_t separator = block.size() - saltSize - 1;
    const auto isZeroOctet = [](unsigned char octet) { return octet == 0; };
    if (!std::ranges::all_of(block.first(separator), isZeroOctet) || block[separator] != 0x01)
        return false;
    const ByteView salt = block.last(saltSize);
    return equalBytes(digestWithSalt(options.digest, digest, salt).view(), saltedDigest);
}

}  // namespace

bool verifyRsaPss(const RsaPublicKey& key, const RsaPssOptions& options, ByteView digest,
                  ByteView signature) noexcept {
    std::array<unsigned char, kMaxRsaModulusSize> buffer;
    if (digestOid(options.digest).empty() || digestOid(options.maskDigest).empty()
        || digest.size() != digestSize(options.digest) || signature.size() > buffer.size())
        return false;
    std::span<unsigned char> message(buffer.data(), signature.size());
    if (!recoverRsaMessage(key, signature, message))
        return false;

    // The encoding has one bit less than the modulus, which may cost it the first octet.
    const int unusedBits = std::countl_zero(stripLeadingZeros(key.modulus).front()) + 1;
    if (unusedBits < 8)
        return isPssEncoding(options, digest, message, unusedBits);
    return message[0] == 0 && isPssEncoding(options, digest, message.subspan(1), 0);
}

}  // namespace certstore
