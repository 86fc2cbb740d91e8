#pragma once

#include <string>

#include "support/asn1/DerWriter.h"
#include "support/asn1/Oid.h"

// DER put together from strings of bytes, for what no tool would write.
namespace dertext {

using Bytes = std::string;

inline Bytes der(unsigned char tag, const Bytes& content) {
    DataBuffer out;
    certstore::appendDer(out, tag, certstore::bytesOf(content));
    return Bytes(certstore::textOf(out.view()));
}

inline Bytes sequence(const Bytes& content) {
    return der(0x30, content);
}

inline Bytes octets(const Bytes& content) {
    return der(0x04, content);
}

inline Bytes oid(const certstore::OidBytes& value) {
    return der(0x06, Bytes(certstore::textOf(value.view())));
}

}  // namespace dertext
