#pragma once

#include "support/base/ByteView.h"

namespace certstore {

// The signature of ECDSA and DSA: Ecdsa-Sig-Value, Dss-Sig-Value (RFC 3279 sections 2.2.3, 2.2.2).
[[nodiscard]] bool readSignatureNumbers(ByteView signature, ByteView& r, ByteView& s) noexcept;

}  // namespace certstore
