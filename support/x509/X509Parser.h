#pragma once

#include <cstddef>

#include "support/x509/X509.h"

namespace certstore {

// No real certificate comes near; keeps offsets in 32 bits and bounds what one addition can cost.
constexpr std::size_t kMaxCertificateSize = std::size_t{1} << 20;

// Where reading stopped: the field that was being read and its byte offset in the input.
struct X509ParseError {
    const char* field = "";
    std::size_t offset = 0;
};

// Splits a DER certificate (RFC 5280 section 4.1) into its fields, which are slices of `der`.
//
// The structure is strict DER, with nothing left over. What real CAs have issued passes: serial
// numbers of any size and sign, empty names, explicit defaults, dates of any content, unknown
// extensions, extensions in any version. Names hold RDNs of at least one attribute, with values
// that isNameValue allows. An extension that we read but that is malformed, or stands twice, counts
// as absent. False on anything else.
[[nodiscard]] bool parseX509(ByteView der, X509Fields& fields, X509ParseError& error) noexcept;

}  // namespace certstore
