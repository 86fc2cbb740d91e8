#pragma once

#include <cstddef>
#include <string_view>

#include "support/base/ByteView.h"

namespace certstore {

enum class EcCurveId : unsigned char { P256, P384 };

// A curve y^2 = x^3 + a x + b over a prime field, with a generator of prime order and cofactor 1.
// Numbers are hexadecimal, as the standards print them.
struct EcCurve {
    EcCurveId id;
    std::size_t fieldBits;
    std::string_view prime;
    std::string_view a;
    std::string_view b;
    std::string_view generatorX;
    std::string_view generatorY;
    std::string_view order;
};

// One curve, one row; nothing else knows the curves by name. SP 800-186 section 3.2.1.
inline constexpr EcCurve kEcCurves[] = {
    {EcCurveId::P256, 256,  //
     "ffffffff00000001000000000000000000000000ffffffffffffffffffffffff",
     "ffffffff00000001000000000000000000000000fffffffffffffffffffffffc",
     "5ac635d8aa3a93e7b3ebbd55769886bc651d06b0cc53b0f63bce3c3e27d2604b",
     "6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296",
     "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5",
     "ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551"},
    {EcCurveId::P384, 384,
     "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffe"
     "ffffffff0000000000000000ffffffff",
     "fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffe"
     "ffffffff0000000000000000fffffffc",
     "b3312fa7e23ee7e4988e056be3f82d19181d9c6efe8141120314088f5013875a"
     "c656398d8a2ed19d2a85c8edd3ec2aef",
     "aa87ca22be8b05378eb1c71ef320ad746e1d3b628ba79b9859f741e082542a38"
     "5502f25dbf55296c3a545e3872760ab7",
     "3617de4a96262c6f5d9e98bf9292dc29f8f41dbd289a147ce9da3113b5f0b8c0"
     "0a60b1ce1d7e819d7a431d7c90ea0e5f",
     "ffffffffffffffffffffffffffffffffffffffffffffffffc7634d81f4372ddf"
     "581a0db248b0a77aecec196accc52973"},
};

// The row of a curve; null for a value that is no curve.
const EcCurve* findCurve(EcCurveId id) noexcept;

// Bytes in one coordinate of a point; 0 for a value that is no curve.
std::size_t fieldBytes(EcCurveId id) noexcept;

// Whether the octets are a point of the curve other than infinity, as SEC 1 section 2.3.3 encodes
// it: uncompressed (04 X Y), or compressed (02 X, 03 X).
bool isCurvePoint(EcCurveId id, ByteView octets) noexcept;

}  // namespace certstore
