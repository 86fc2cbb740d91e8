#pragma once

#include "support/base/ByteView.h"
#include "support/crypto/RsaPss.h"

namespace certstore {

// Reads RSASSA-PSS-params (RFC 4055 section 3.1, RFC 8017 appendix A.2.3). Returns false, with
// `options` unspecified, unless `parameters` is one whole value in DER with known digests, MGF1, a
// salt size of 64 bits and the one trailer field there is. Whether the salt fits a key is seen with
// the signature. Values that equal their default, which DER leaves out, may be written: common
// signers do.
[[nodiscard]] bool readRsaPssParameters(ByteView parameters, RsaPssOptions& options) noexcept;

}  // namespace certstore
