#pragma once

#include "support/asn1/DerReader.h"
#include "support/x509/X509.h"

namespace certstore {

// Reads a SEQUENCE OF Extension (RFC 5280 section 4.1.2.9) up to the end of `list` and fills the
// three extensions that the store asks for: subject key identifier, authority key identifier,
// subject alternative name. One of those that is malformed or stands twice is left absent; false
// only when the list itself is malformed, with `list` at the extension that stopped it.
[[nodiscard]] bool readX509Extensions(DerReader& list, X509Fields& fields) noexcept;

}  // namespace certstore
