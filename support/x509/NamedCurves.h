#pragma once

#include <string_view>

#include "support/asn1/Oid.h"
#include "support/crypto/EcCurve.h"

namespace certstore {

// A curve as EC keys name it (RFC 5480 section 2.1.1.1, RFC 5639).
struct NamedCurve {
    OidBytes oid;
    std::string_view name;
    EcCurveId id;
};

// The curve that the parameters of an EC key name, given as a whole value; null unless they are the
// OID of a curve known here.
const NamedCurve* findNamedCurve(ByteView parameters) noexcept;

}  // namespace certstore
