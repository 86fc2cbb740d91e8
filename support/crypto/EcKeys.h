#pragma once

#include <span>

#include "support/base/ByteView.h"
#include "support/crypto/EcCurve.h"

namespace certstore {

// The public half of a private key on a curve: the scalar times the generator, as 04 X Y (SEC 1
// section 2.3.3). `scalar` is unsigned big-endian, of any width. False for a value that is no
// curve, unless the scalar is from 1 to the order less 1, and unless `point` is 1 + 2 *
// fieldBytes(id) bytes. The time taken depends on the curve and the size of the scalar, on its
// value only by whether that is valid.
bool deriveEcPublicKey(EcCurveId id, ByteView scalar, std::span<unsigned char> point) noexcept;

}  // namespace certstore
