#pragma once

#include <string_view>

#include "support/asn1/Oid.h"

namespace certstore {

// What keys have in common whose encodings are read alike.
enum class KeyFamily { Rsa, Ec, Dsa, Ed25519, Ed448, X25519, X448, SlhDsa, Other };

struct KeyType {
    OidBytes oid;
    std::string_view name;
    KeyFamily family = KeyFamily::Other;
};

// The row of a key algorithm, given as content octets of its OID; null for one that has no name
// here.
const KeyType* findKeyType(ByteView algorithm) noexcept;

KeyFamily keyFamilyOf(ByteView algorithm) noexcept;

}  // namespace certstore
