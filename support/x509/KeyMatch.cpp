#include "support/x509/KeyMatch.h"

#include "support/x509/KeyTypes.h"

namespace certstore {

namespace {

// A point as SEC 1 section 2.3.3 encodes it: its x, and of its y as much as the form holds.
struct PointParts {
    ByteView x, y;
    bool yIsOdd = false;
};

bool splitPoint(ByteView bits, PointParts& parts) noexcept {
    if (bits.size() < 2)
        return false;
    const ByteView coordinates = bits.subspan(1);
    const bool compressed = bits[0] == 2 || bits[0] == 3;
    if (!compressed && (bits[0] != 4 || coordinates.size() % 2 != 0))
        return false;
    const std::size_t size = compressed ? coordinates.size() : coordinates.size() / 2;
    parts = {coordinates.first(size), coordinates.subspan(size), (bits.back() & 1) != 0};
    if (compressed)
        parts.yIsOdd = bits[0] == 3;
    return true;
}

KeyMatch verdict(bool same) noexcept {
    return same ? KeyMatch::Same : KeyMatch::Different;
}

KeyMatch matchPoints(ByteView a, ByteView b) noexcept {
    PointParts first, second;
    if (!splitPoint(a, first) || !splitPoint(b, second))
        return KeyMatch::Unknown;
    const bool sameY = first.y.empty() || second.y.empty() ? first.yIsOdd == second.yIsOdd
                                                           : equalBytes(first.y, second.y);
    return verdict(equalBytes(first.x, second.x) && sameY);
}

KeyMatch matchRsa(const RsaPublicKey& key, ByteView publicBits) noexcept {
    RsaPublicKey other;
    return verdict(readRsaPublicKey(publicBits, other) && equalBytes(key.modulus, other.modulus)
                   && equalBytes(key.exponent, other.exponent));
}

// Whether both name parameters, and not the same: another curve, another DSA group.
bool areOfOtherParameters(ByteView a, ByteView b) noexcept {
    return !a.empty() && !b.empty() && !equalBytes(a, b);
}

}  // namespace

KeyMatch matchKeys(const PrivateKeyInfo& privateKey, const PublicKeyInfo& publicKey) noexcept {
    const KeyFamily family = keyFamilyOf(privateKey.algorithm);
    if (family != keyFamilyOf(publicKey.algorithm))
        return KeyMatch::Different;
    if (family == KeyFamily::Rsa)
        return matchRsa(privateKey.rsa, publicKey.bits);
    if (!equalBytes(privateKey.algorithm, publicKey.algorithm))
        return KeyMatch::Different;
    if ((family == KeyFamily::Ec || family == KeyFamily::Dsa)
        && areOfOtherParameters(privateKey.parameters, publicKey.parameters))
        return KeyMatch::Different;
    if (privateKey.publicBits.empty())
        return KeyMatch::Unknown;
    return family == KeyFamily::Ec ? matchPoints(privateKey.publicBits, publicKey.bits)
                                   : verdict(equalBytes(privateKey.publicBits, publicKey.bits));
}

}  // namespace certstore
