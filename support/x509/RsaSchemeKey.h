#pragma once

#include "support/crypto/Rsa.h"
#include "support/x509/SignatureSchemes.h"

namespace certstore {

// Reads the RSA key of a signature scheme. Null when the key and the size of the signature are such
// that checking it makes sense, else the reason why not. To be asked before the message is hashed,
// which costs most of all that is refused here.
const char* readRsaSchemeKey(const SignatureInput& input, RsaPublicKey& key) noexcept;

}  // namespace certstore
