#include <algorithm>
#include <array>

#include "support/base/Wipe.h"
#include "support/crypto/CurveKeys.h"
#include "support/crypto/Field25519.h"
#include "support/crypto/Field448.h"

namespace certstore {
namespace {

// v^2 = u^3 + A u^2 + u (RFC 7748 section 4).
struct Curve25519 {
    using Field = Field25519;
    static constexpr Field::Element kBase{{9}};
    static constexpr Field::Element kA24{{121665}};  // (A - 2) / 4
};

struct Curve448 {
    using Field = Field448;
    static constexpr Field::Element kBase{{5}};
    static constexpr Field::Element kA24{{39081}};
};

// The ladder of RFC 7748 section 5 from the base point. The names are those of the RFC; all that
// depends on the scalar lives in one place, to be wiped together.
template <class Curve>
class Ladder {
public:
    using Field = typename Curve::Field;
    using Octets = std::array<unsigned char, Field::kSize>;

    Ladder() = default;
    ~Ladder() { wipe(&m_work, sizeof m_work); }
    Ladder(const Ladder&) = delete;
    Ladder& operator=(const Ladder&) = delete;

    void multiply(const Octets& scalar, std::span<unsigned char, Field::kSize> u) noexcept {
        Limb swap = 0;
        for (std::size_t i = scalar.size() * 8; i-- > 0;) {
            const Limb bit = scalar[i / 8] >> (i % 8) & 1;
            swapIf(swap ^ bit);
            swap = bit;
            step();
        }
        swapIf(swap);
        m_work.a = Field::invert(m_work.z2);
        Field::store(Field::multiply(m_work.x2, m_work.a), u);
    }

private:
    using Element = typename Field::Element;

    void swapIf(Limb condition) noexcept {
        Field::swapIf(condition, m_work.x2, m_work.x3);
        Field::swapIf(condition, m_work.z2, m_work.z3);
    }

    void step() noexcept {
        m_work.a = Field::add(m_work.x2, m_work.z2);
        m_work.b = Field::subtract(m_work.x2, m_work.z2);
        m_work.da = Field::multiply(Field::subtract(m_work.x3, m_work.z3), m_work.a);
        m_work.cb = Field::multiply(Field::add(m_work.x3, m_work.z3), m_work.b);
        m_work.x3 = Field::square(Field::add(m_work.da, m_work.cb));
        m_work.z3 =
            Field::multiply(Curve::kBase, Field::square(Field::subtract(m_work.da, m_work.cb)));
        m_work.a = Field::square(m_work.a);
        m_work.b = Field::square(m_work.b);
        m_work.x2 = Field::multiply(m_work.a, m_work.b);
        m_work.b = Field::subtract(m_work.a, m_work.b);  // E
        m_work.a = Field::add(m_work.a, Field::multiply(Curve::kA24, m_work.b));
        m_work.z2 = Field::multiply(m_work.b, m_work.a);
    }

    struct {
        Element x2 = Field::kOne, z2 = Field::kZero, x3 = Curve::kBase, z3 = Field::kOne;
        Element a, b, da, cb;
    } m_work;
};

}  // namespace

bool deriveX25519PublicKey(ByteView scalar, std::span<unsigned char, 32> publicKey) noexcept {
    Ladder<Curve25519>::Octets clamped;
    if (scalar.size() != clamped.size())
        return false;
    const WipeGuard guard(clamped.data(), clamped.size());
    std::copy(scalar.begin(), scalar.end(), clamped.begin());
    clamped[0] &= 0xf8;
    clamped[31] = static_cast<unsigned char>((clamped[31] & 0x3f) | 0x40);
    Ladder<Curve25519>().multiply(clamped, publicKey);
    return true;
}

bool deriveX448PublicKey(ByteView scalar, std::span<unsigned char, 56> publicKey) noexcept {
    Ladder<Curve448>::Octets clamped;
    if (scalar.size() != clamped.size())
        return false;
    const WipeGuard guard(clamped.data(), clamped.size());
    std::copy(scalar.begin(), scalar.end(), clamped.begin());
    clamped[0] &= 0xfc;
    clamped[55] |= 0x80;
    Ladder<Curve448>().multiply(clamped, publicKey);
    return true;
}

}  // namespace certstore
