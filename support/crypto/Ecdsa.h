#pragma once

#include "support/base/ByteView.h"
#include "support/crypto/EcCurve.h"

namespace certstore {

// Whether (r, s) is a signature over a message with this digest (FIPS 186-5 section 6.4.2).
// `publicPoint` is encoded as for isCurvePoint(); `digest` may be of any size but empty, and counts
// with its leading bits, as many as the order of the curve has; `r` and `s` are unsigned
// big-endian, zeros in front allowed. False also for r or s that is 0 or not below the order, for
// anything that is not a point of the curve, and for an unknown curve.
bool verifyEcdsa(EcCurveId id, ByteView publicPoint, ByteView digest, ByteView r,
                 ByteView s) noexcept;

}  // namespace certstore
