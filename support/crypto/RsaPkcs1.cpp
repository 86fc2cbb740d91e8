#include "support/crypto/RsaPkcs1.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace certstore {
namespace {

// RFC 8017 section 9.2: at least eight octets of 0xff, and three around them.
constexpr std::size_t kMinPaddingSize = 11;

// The contents of the OBJECT IDENTIFIERs of RFC 8017 appendix B.1, in the order of DigestAlgorithm;
// an algorithm behind the last row makes no signature of this kind.
struct DigestOid {
    unsigned char bytes[9];
    unsigned char size;
};
constexpr DigestOid kDigestOids[] = {
    {{0x2b, 0x0e, 0x03, 0x02, 0x1a}, 5},                          // 1.3.14.3.2.26
    {{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04}, 9},  // 2.16.840.1.101.3.4.2.4
    {{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}, 9},  // 2.16.840.1.101.3.4.2.1
    {{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02}, 9},  // 2.16.840.1.101.3.4.2.2
    {{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}, 9},  // 2.16.840.1.101.3.4.2.3
};

enum class Parameters : unsigned char { Null, Absent };

// The DER of a DigestInfo. All of its lengths are below 128 and take one octet.
struct DigestInfo {
    std::array<unsigned char, 2 + 2 + 2 + sizeof(DigestOid::bytes) + 2 + 2 + kMaxDigestSize> bytes;
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
    const DigestOid& oid = kDigestOids[static_cast<std::size_t>(algorithm)];
    const std::size_t identifierSize = 2u + oid.size + (parameters == Parameters::Null ? 2u : 0u);
    DigestInfo info;
    info.appendHeader(0x30, 2 + identifierSize + 2 + digest.size());
    info.appendHeader(0x30, identifierSize);
    info.appendHeader(0x06, oid.size);
    info.append({oid.bytes, oid.size});
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
    if (static_cast<std::size_t>(algorithm) >= std::size(kDigestOids)
        || digest.size() != digestSize(algorithm) || signature.size() > buffer.size())
        return false;
    const std::span<unsigned char> message(buffer.data(), signature.size());
    if (!recoverRsaMessage(key, signature, message))
        return false;
    return isEncodingOf(encodeDigestInfo(algorithm, digest, Parameters::Null), message)
        || isEncodingOf(encodeDigestInfo(algorithm, digest, Parameters::Absent), message);
}

}  // namespace certstore
