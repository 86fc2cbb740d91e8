#include "support/crypto/EcKeys.h"

#include <array>

#include "support/base/Wipe.h"
#include "support/crypto/EcCurveVisit.h"
#include "support/crypto/MontgomeryField.h"
#include "support/crypto/SecretLimbs.h"

namespace certstore {
namespace {

// Multiplies the generator of one curve by a secret scalar. EcGroup is faster, but its time tells
// about the points.
template <std::size_t kCount>
class SecretMultiplier {
public:
    explicit SecretMultiplier(const EcCurve& curve) noexcept;

    // As deriveEcPublicKey().
    bool derive(ByteView scalar, std::span<unsigned char> point) noexcept;

private:
    using Field = MontgomeryField<kCount>;
    using Element = typename Field::Element;

    // The point (x / z, y / z), infinity when z is 0.
    struct Point {
        Element x, y, z;
    };

    // Bits of the scalar taken at a time.
    static constexpr std::size_t kWindow = 4;

    void add(Point& sum, const Point& p, const Point& q) noexcept;
    void multiplyGenerator() noexcept;
    void select(Limb digit) noexcept;
    void invertZ() noexcept;

    Field m_field;
    Number<kCount> m_order;
    Element m_a, m_threeB;
    std::array<Point, 1 << kWindow> m_multiples;  // of the generator, from 0 on

    // What depends on the secret, in one place to be wiped.
    struct Work {
        Number<kCount> scalar;
        Point point, addend;
        Element xx, yy, zz, xy, xz, yz, sum, low, high, slope, rest;
    };
    Work m_work{};
    WipeGuard m_guard{&m_work, sizeof m_work};
};

template <std::size_t kCount>
SecretMultiplier<kCount>::SecretMultiplier(const EcCurve& curve) noexcept
    : m_field(numberFromHex<kCount>(curve.prime)), m_order(numberFromHex<kCount>(curve.order)) {
    const auto read = [this](std::string_view digits) {
        return m_field.encode(numberFromHex<kCount>(digits));
    };
    m_a = read(curve.a);
    const Element b = read(curve.b);
    m_threeB = m_field.add(m_field.twice(b), b);
    m_multiples[0] = {{}, m_field.one(), {}};
    m_multiples[1] = {read(curve.generatorX), read(curve.generatorY), m_field.one()};
    for (std::size_t i = 2; i < m_multiples.size(); ++i)
        add(m_multiples[i], m_multiples[i - 1], m_multiples[1]);
}

template <std::size_t kCount>
bool SecretMultiplier<kCount>::derive(ByteView scalar, std::span<unsigned char> point) noexcept {
    const std::size_t size = (countBits(m_field.prime()) + 7) / 8;
    if (point.size() != 1 + 2 * size || !loadSecretLimbs(scalar, m_work.scalar)
        || !isSecretWithin(m_work.scalar, m_order))
        return false;
    multiplyGenerator();
    invertZ();
    point[0] = 0x04;
    const auto write = [&](const Element& coordinate, std::size_t at) {
        const Element affine = m_field.multiply(coordinate, m_work.zz);
        storeLimbs(m_field.decode(affine), point.subspan(at, size));
    };
    write(m_work.point.x, 1);
    write(m_work.point.y, 1 + size);
    return true;
}

// Every digit doubles and adds alike: nothing tells a 0 from the others.
template <std::size_t kCount>
void SecretMultiplier<kCount>::multiplyGenerator() noexcept {
    m_work.point = m_multiples[0];
    for (std::size_t position = (countBits(m_order) + kWindow - 1) / kWindow * kWindow;
         position != 0;) {
        position -= kWindow;
        for (std::size_t i = 0; i < kWindow; ++i)
            add(m_work.point, m_work.point, m_work.point);
        select(readBits(m_work.scalar, position, kWindow));
        add(m_work.point, m_work.point, m_work.addend);
    }
}

// Reads the whole table: which of its lines are in the cache tells nothing.
template <std::size_t kCount>
void SecretMultiplier<kCount>::select(Limb digit) noexcept {
    for (std::size_t i = 0; i < m_multiples.size(); ++i) {
        const Limb mask = maskIfEqual(i, digit);
        copyMasked(m_work.addend.x.limbs, m_multiples[i].x.limbs, mask);
        copyMasked(m_work.addend.y.limbs, m_multiples[i].y.limbs, mask);
        copyMasked(m_work.addend.z.limbs, m_multiples[i].z.limbs, mask);
    }
}

// Adds any two points, equal ones and infinity among them, without a case apart (Renes, Costello,
// Batina 2016, section 3.1, for curves of odd order and any a). `sum` may be one of the others.
template <std::size_t kCount>
void SecretMultiplier<kCount>::add(Point& sum, const Point& p, const Point& q) noexcept {
    const Field& f = m_field;
    Work& w = m_work;
    w.xx = f.multiply(p.x, q.x);
    w.yy = f.multiply(p.y, q.y);
    w.zz = f.multiply(p.z, q.z);
    // p.x q.y + q.x p.y in one multiplication, and likewise.
    const auto cross = [&](Element& result, const Element& p1, const Element& p2, const Element& q1,
                           const Element& q2, const Element& first, const Element& second) {
        w.sum = f.add(p1, p2);
        result = f.multiply(w.sum, f.add(q1, q2));
        result = f.subtract(f.subtract(result, first), second);
    };
    cross(w.xy, p.x, p.y, q.x, q.y, w.xx, w.yy);
    cross(w.xz, p.x, p.z, q.x, q.z, w.xx, w.zz);
    cross(w.yz, p.y, p.z, q.y, q.z, w.yy, w.zz);

    w.sum = f.add(f.multiply(m_a, w.xz), f.multiply(m_threeB, w.zz));
    w.low = f.subtract(w.yy, w.sum);
    w.high = f.add(w.yy, w.sum);
    w.zz = f.multiply(m_a, w.zz);
    w.slope = f.add(f.add(f.twice(w.xx), w.xx), w.zz);
    w.rest = f.multiply(m_a, f.subtract(w.xx, w.zz));
    w.rest = f.add(w.rest, f.multiply(m_threeB, w.xz));

    sum.x = f.subtract(f.multiply(w.xy, w.low), f.multiply(w.yz, w.rest));
    sum.y = f.add(f.multiply(w.low, w.high), f.multiply(w.slope, w.rest));
    sum.z = f.add(f.multiply(w.yz, w.high), f.multiply(w.xy, w.slope));
}

// Leaves 1 / z in m_work.zz. The z that a way of adding ends with tells about the scalar, thus not
// by Field::invert(), whose table of its powers is not wiped.
template <std::size_t kCount>
void SecretMultiplier<kCount>::invertZ() noexcept {
    Number<kCount> exponent = m_field.prime();
    subtractLimbs(exponent, Number<kCount>{2});
    m_work.zz = m_field.one();
    for (std::size_t bit = countBits(exponent); bit-- > 0;) {
        m_work.zz = m_field.square(m_work.zz);
        if (readBits(exponent, bit, 1) != 0)
            m_work.zz = m_field.multiply(m_work.zz, m_work.point.z);
    }
}

// Not inline, so that all it leaves on the stack is below the caller.
template <std::size_t kCount>
[[gnu::noinline]] bool deriveOn(const EcCurve& curve, ByteView scalar,
                                std::span<unsigned char> point) noexcept {
    return SecretMultiplier<kCount>(curve).derive(scalar, point);
}

}  // namespace

bool deriveEcPublicKey(EcCurveId id, ByteView scalar, std::span<unsigned char> point) noexcept {
    const bool derived = visitCurve(id, [=](auto curve) {
        return deriveOn<decltype(curve)::kLimbs>(*findCurve(id), scalar, point);
    });
    wipeStackBelow();
    return derived;
}

}  // namespace certstore
