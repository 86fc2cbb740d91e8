#pragma once

#include "support/log/LogBase.h"
#include "support/x509/X509.h"

namespace certstore {

// Whether the signature of `cert` verifies with this issuer's key, a SubjectPublicKeyInfo (RFC 5280
// section 4.1.1.3). Nothing else is compared. On false one error says why: the algorithm is not
// known or not accepted, its two identifiers in the certificate disagree, the issuer's key does not
// fit it or is malformed, or the signature does not match. Throws std::bad_alloc.
bool verifySignature(const X509& cert, ByteView issuerSpki, LogBase& log);

}  // namespace certstore
