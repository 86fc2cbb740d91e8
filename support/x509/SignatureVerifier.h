#pragma once

#include "support/log/LogBase.h"
#include "support/x509/X509.h"

namespace certstore {

// Whether the signature of `cert` verifies with this issuer's key, a SubjectPublicKeyInfo (RFC 5280
// section 4.1.1.3). Nothing else is compared. On false one error says why: the algorithm is not
// known, its two identifiers in the certificate disagree, the issuer's key is of another kind or
// malformed, or the signature does not match.
bool verifySignature(const X509& cert, ByteView issuerSpki, LogBase& log);

// Appends the name of a signature algorithm, given as a whole AlgorithmIdentifier, or its dotted
// OID.
void appendSignatureAlgorithmName(StringBuffer& out, ByteView algorithm);

}  // namespace certstore
