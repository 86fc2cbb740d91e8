#include "support/x509/PublicHalf.h"

#include <array>

#include "support/asn1/DerReader.h"
#include "support/asn1/DerWriter.h"
#include "support/crypto/CurveKeys.h"
#include "support/crypto/DsaKeys.h"
#include "support/crypto/EcKeys.h"
#include "support/crypto/Limbs.h"
#include "support/x509/KeyCodec.h"
#include "support/x509/KeyTypes.h"
#include "support/x509/NamedCurves.h"

namespace certstore {

namespace {

bool deriveEc(const PrivateKeyInfo& key, DataBuffer& bits) {
    const NamedCurve* curve = findNamedCurve(key.parameters);
    if (!curve)
        return true;
    const std::size_t size = 1 + 2 * fieldBytes(curve->id);
    const std::span<unsigned char> point(bits.extend(static_cast<unsigned int>(size)), size);
    return deriveEcPublicKey(curve->id, key.secret, point);
}

// The public half is an INTEGER (RFC 3279 section 2.3.2).
bool deriveDsa(const PrivateKeyInfo& key, DataBuffer& bits) {
    DsaDomain domain;
    if (!readDsaDomain(key.parameters, domain) || !isDsaDomain(domain))
        return true;
    std::array<unsigned char, 1 + kMaxDsaPrimeSize> buffer{};
    const std::span<unsigned char> y =
        std::span(buffer).subspan(1, stripLeadingZeros(domain.p).size());
    if (!deriveDsaPublicKey(domain, key.secret, y))
        return false;
    // One 00 in front of a number that would be negative without, and no more.
    ByteView integer(buffer.data(), 1 + y.size());
    while (integer.size() > 1 && integer[0] == 0 && integer[1] < 0x80)
        integer = integer.subspan(1);
    appendDer(bits, static_cast<unsigned char>(DerTag::Integer), integer);
    return true;
}

template <std::size_t kSize>
using DeriveOctets = bool (*)(ByteView secret, std::span<unsigned char, kSize>) noexcept;

template <std::size_t kSize>
bool deriveCurve(DeriveOctets<kSize> derive, const PrivateKeyInfo& key, DataBuffer& bits) {
    return derive(key.secret, std::span<unsigned char, kSize>(bits.extend(kSize), kSize));
}

// PK.seed and PK.root are the second half of the key (FIPS 205 section 9.1). What some tools have
// wrapped once more has another size: carried, but not understood.
void copySlhDsa(const PrivateKeyInfo& key, DataBuffer& bits) {
    const std::size_t size = key.secret.size();
    if (size == 64 || size == 96 || size == 128)
        bits.append(key.secret.last(size / 2));
}

}  // namespace

bool derivePublicBits(const PrivateKeyInfo& key, DataBuffer& bits) {
    switch (keyFamilyOf(key.algorithm)) {
        case KeyFamily::Ec:
            return deriveEc(key, bits);
        case KeyFamily::Dsa:
            return deriveDsa(key, bits);
        case KeyFamily::Ed25519:
            return deriveCurve(deriveEd25519PublicKey, key, bits);
        case KeyFamily::Ed448:
            return deriveCurve(deriveEd448PublicKey, key, bits);
        case KeyFamily::X25519:
            return deriveCurve(deriveX25519PublicKey, key, bits);
        case KeyFamily::X448:
            return deriveCurve(deriveX448PublicKey, key, bits);
        case KeyFamily::SlhDsa:
            copySlhDsa(key, bits);
            break;
        case KeyFamily::Rsa:
        case KeyFamily::Other:
            break;
    }
    return true;
}

}  // namespace certstore
