#include "support/crypto/Dsa.h"

#include <algorithm>
#include <array>
#include <span>

#include "support/crypto/Limbs.h"
#include "support/crypto/MontgomeryField.h"
#include "support/crypto/MontgomeryModulus.h"

namespace certstore {
namespace {

// A number modulo p.
using Residue = std::array<Limb, kMaxDsaPrimeSize / sizeof(Limb)>;

constexpr std::size_t kOrderBits[] = {160, 224, 256};
constexpr std::size_t kOrderLimbs = limbsForBits(256);
using Scalars = MontgomeryField<kOrderLimbs>;
using Scalar = Scalars::Integer;

constexpr unsigned char kOne[] = {1};

// Bits of an exponent taken at a time.
constexpr std::size_t kWindow = 4;

bool isBelow(ByteView a, ByteView b) noexcept {
    a = stripLeadingZeros(a);
    b = stripLeadingZeros(b);
    if (a.size() != b.size())
        return a.size() < b.size();
    return std::ranges::lexicographical_compare(a, b);
}

// As the size is checked, the number fits.
Scalar readScalar(ByteView octets) noexcept {
    Scalar scalar;
    loadLimbs(octets, scalar);
    return scalar;
}

bool isOrder(ByteView q) noexcept {
    q = stripLeadingZeros(q);
    if (q.size() > kOrderLimbs * sizeof(Limb))
        return false;
    const Scalar order = readScalar(q);
    return order[0] % 2 != 0
        && std::ranges::find(kOrderBits, countBits(order)) != std::end(kOrderBits);
}

bool isOdd(ByteView number) noexcept {
    return !number.empty() && number.back() % 2 != 0;
}

bool isWithin(ByteView low, ByteView number, ByteView high) noexcept {
    return isBelow(low, number) && isBelow(number, high);
}

// base^0, base^1, base^2 .. for the digits of one window.
class Powers {
public:
    Powers(const MontgomeryModulus& modulus, ByteView base) noexcept : m_powers{Residue{1}} {
        const std::size_t count = modulus.limbCount();
        loadLimbs(base, m_powers[1]);
        modulus.enterMontgomeryForm({m_powers[0].data(), count});
        modulus.enterMontgomeryForm({m_powers[1].data(), count});
        for (std::size_t i = 2; i < m_powers.size(); ++i)
            modulus.multiply(m_powers[i].data(), m_powers[i - 1].data(), m_powers[1].data());
    }

    const Residue& operator[](std::size_t exponent) const noexcept { return m_powers[exponent]; }

private:
    std::array<Residue, 1 << kWindow> m_powers;
};

// g^u1 * y^u2: the digits of both exponents share the squarings.
Residue raiseBoth(const MontgomeryModulus& modulus, const DsaPublicKey& key, const Scalar& u1,
                  const Scalar& u2) noexcept {
    const Powers g(modulus, key.g), y(modulus, key.y);
    Residue result = g[0];
    const auto multiplyBy = [&](const Residue& factor) {
        modulus.multiply(result.data(), result.data(), factor.data());
    };
    const std::size_t bits = std::max(countBits(u1), countBits(u2));
    for (std::size_t position = (bits + kWindow - 1) / kWindow * kWindow; position != 0;) {
        position -= kWindow;
        for (std::size_t i = 0; i < kWindow; ++i)
            modulus.square(result.data(), result.data());
        if (const Limb digit = readBits(u1, position, kWindow))
            multiplyBy(g[digit]);
        if (const Limb digit = readBits(u2, position, kWindow))
            multiplyBy(y[digit]);
    }
    multiplyBy({1});
    return result;
}

// Chunk by chunk from the top: encode() multiplies by 2^256, the weight of a chunk, and decode()
// undoes it, which leaves the chunk reduced.
Scalar reduceOctets(const Scalars& scalars, ByteView octets) noexcept {
    constexpr std::size_t kChunk = kOrderLimbs * sizeof(Limb);
    Scalars::Element sum;
    while (!octets.empty()) {
        const std::size_t size = (octets.size() - 1) % kChunk + 1;
        const Scalar chunk = scalars.decode(scalars.encode(readScalar(octets.first(size))));
        sum = scalars.add(scalars.encode(sum.limbs), {chunk});
        octets = octets.subspan(size);
    }
    return sum.limbs;
}

}  // namespace

bool isDsaDomain(const DsaDomain& domain) noexcept {
    return stripLeadingZeros(domain.p).size() <= kMaxDsaPrimeSize && isOdd(domain.p)
        && isOrder(domain.q) && isBelow(domain.q, domain.p) && isWithin(kOne, domain.g, domain.p);
}

bool verifyDsa(const DsaPublicKey& key, ByteView digest, ByteView r, ByteView s) noexcept {
    if (digest.empty() || !isDsaDomain(key) || !isWithin(kOne, key.y, key.p)
        || !isWithin({}, r, key.q) || !isWithin({}, s, key.q))
        return false;
    const Scalars scalars(readScalar(key.q));
    // The sizes of q are whole bytes, and so are the leading bits of the digest.
    const std::size_t orderSize = stripLeadingZeros(key.q).size();
    const Scalar e = readScalar(digest.first(std::min(digest.size(), orderSize)));
    const auto w = scalars.invertPublic(scalars.encode(readScalar(s)));
    const auto u1 = scalars.decode(scalars.multiply(scalars.encode(e), w));
    const auto u2 = scalars.decode(scalars.multiply(scalars.encode(readScalar(r)), w));

    MontgomeryModulus modulus;
    if (!modulus.assign(key.p))
        return false;
    std::array<unsigned char, kMaxDsaPrimeSize> octets;
    storeLimbs(raiseBoth(modulus, key, u1, u2), octets);
    return reduceOctets(scalars, octets) == readScalar(r);
}

}  // namespace certstore
