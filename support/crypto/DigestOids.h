#pragma once

#include "support/base/ByteView.h"
#include "support/crypto/Digest.h"

namespace certstore {

// The content octets of the OBJECT IDENTIFIER that names this algorithm inside a signature or a MAC
// (RFC 8017 appendix B.1, the NIST registry of hash algorithms for the rest). Empty for one that
// makes none.
ByteView digestOid(DigestAlgorithm algorithm) noexcept;

// The reverse. Returns false for content octets that no row names.
bool findDigestByOid(ByteView oid, DigestAlgorithm& algorithm) noexcept;

}  // namespace certstore
