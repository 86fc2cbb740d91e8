#include "support/crypto/DigestOids.h"

#include <iterator>

#include "support/asn1/Oid.h"

namespace certstore {
namespace {

// In the order of DigestAlgorithm; one behind the last row makes no signature.
constexpr OidBytes kDigestOids[] = {
    OidBytes("1.3.14.3.2.26"),            // SHA-1
    OidBytes("2.16.840.1.101.3.4.2.4"),   // SHA-224
    OidBytes("2.16.840.1.101.3.4.2.1"),   // SHA-256
    OidBytes("2.16.840.1.101.3.4.2.2"),   // SHA-384
    OidBytes("2.16.840.1.101.3.4.2.3"),   // SHA-512
    OidBytes("2.16.840.1.101.3.4.2.5"),   // SHA-512/224
    OidBytes("2.16.840.1.101.3.4.2.6"),   // SHA-512/256
    OidBytes("2.16.840.1.101.3.4.2.7"),   // SHA3-224
    OidBytes("2.16.840.1.101.3.4.2.8"),   // SHA3-256
    OidBytes("2.16.840.1.101.3.4.2.9"),   // SHA3-384
    OidBytes("2.16.840.1.101.3.4.2.10"),  // SHA3-512
};
static_assert(std::size(kDigestOids) == static_cast<std::size_t>(DigestAlgorithm::Md5));

}  // namespace

ByteView digestOid(DigestAlgorithm algorithm) noexcept {
    const auto index = static_cast<std::size_t>(algorithm);
    return index < std::size(kDigestOids) ? kDigestOids[index].view() : ByteView();
}

bool findDigestByOid(ByteView oid, DigestAlgorithm& algorithm) noexcept {
    for (std::size_t i = 0; i < std::size(kDigestOids); ++i) {
        if (kDigestOids[i] == oid) {
            algorithm = static_cast<DigestAlgorithm>(i);
            return true;
        }
    }
    return false;
}

}  // namespace certstore
