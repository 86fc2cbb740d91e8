#include "support/crypto/RsaPkcs1.h"

#include <algorithm>
#include <array>

#include "support/asn1/Oid.h"
#include "support/crypto/DigestOids.h"

namespace certstore {
namespace {

// RFC 8017 section 9.2: at least eight octets of 0xff, and three around them.
constexpr std::size_t kMinPaddingSize = 11;

enum class Parameters : unsigned char { Null, Absent };

// The DER of a DigestInfo. All of its lengths are below 128 and take one octet.
struct DigestInfo {
    std::array<unsigned char, 2 + 2 + 2 + OidBytes::kMaxSize + 2 + 2 + kMaxDigestSize> bytes;
    std::size_t size = 0;

    void append(unsigned char octet) { bytes[size++] = octet; }
    void append(ByteView octets) {
        std::copy(octets.begin(), octets.end(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        size += octets.size();
    }
    void appendHeader(unsigned char tag, std::size_t length) {
        append(tag);
        append(static_cast<unsigned char>(length));
    }
};

DigestInfo encodeDigestInfo(DigestAlgorithm algorithm, ByteView digest, Parameters parameters) {
    const ByteView oid = digestOid(algorithm);
    const std::size_t identifierSize = 2 + oid.size() + (parameters == Parameters::Null ? 2 : 0);
    DigestInfo info;
    info.appendHeader(0x30, 2 + identifierSize + 2 + digest.size());
    info.appendHeader(0x30, identifierSize);
    info.appendHeader(0x06, oid.size());
    info.append(oid);
    if (parameters == Parameters::Null)
        info.appendHeader(0x05, 0);
    info.appendHeader(0x04, digest.size());
    info.append(digest);
    return info;
}

// Compares with EMSA-PKCS1-v1_5 as a whole: 00 01 ff .. ff 00 DigestInfo. Nothing of `message` is
// ever parsed, so that there is nothing to forge.
bool isEncodingOf(const DigestInfo& info, ByteView message) {
    if (message.size() < info.size + kMinPaddingSize)
        return false;
    std::array<unsigned char, kMaxRsaModulusSize> expected;
    const std::size_t separator = message.size() - info.size - 1;
    expected[0] = 0x00;
    expected[1] = 0x01;
    std::fill(expected.begin() + 2, expected.begin() + static_cast<std::ptrdiff_t>(separator),
              static_cast<unsigned char>(0xff));
    expected[separator] = 0x00;
    std::copy_n(info.bytes.begin(), info.size,
                expected.begin() + static_cast<std::ptrdiff_t>(separator + 1));
    return equalBytes({expected.data(), message.size()}, message);
}

}  // namespace

bool verifyRsaPkcs1(const RsaPublicKey& key, DigestAlgorithm algorithm, ByteView digest,
                    ByteView signature) noexcept {
    std::array<unsigned char, kMaxRsaModulusSize> buffer;
    if (digestOid(algorithm).empty() || digest.size() != digestSize(algorithm)
        || signature.size() > buffer.size())
        return false;
    const std::span<unsigned char> message(buffer.data(), signature.size());
    if (!recoverRsaMessage(key, signature, message))
        return false;
    return isEncodingOf(encodeDigestInfo(algorithm, digest, Parameters::Null), message)
        || isEncodingOf(encodeDigestInfo(algorithm, digest, Parameters::Absent), message);
}

}  // namespace certstore
