#pragma once

#include <string_view>

#include "support/buffers/DataBuffer.h"

namespace certstore {

enum class PemBodyResult {
    Good,
    NotBase64,
    Encrypted,  // in the traditional way, with a Proc-Type header (RFC 1421 section 4.6.1.1)
};

// Appends the bytes that the body of a PEM block (Pem.h) stands for, whether RFC 1421 headers stand
// in front of the base64 or none. `out` is as it was unless the result is Good; one for secrets is
// marked secure by the caller first. Throws std::bad_alloc.
[[nodiscard]] PemBodyResult decodePemBody(std::string_view body, DataBuffer& out);

// What to say of a result other than Good.
const char* problemOf(PemBodyResult result) noexcept;

}  // namespace certstore
