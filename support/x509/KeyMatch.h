#pragma once

#include "support/x509/KeyCodec.h"
#include "support/x509/PrivateKeyCodec.h"

namespace certstore {

enum class KeyMatch { Same, Different, Unknown };

// Whether the private key's public half is this public key. Unknown when the private key comes
// without its public half and nothing else tells them apart. Only what is public is compared, so
// the time may tell about it.
KeyMatch matchKeys(const PrivateKeyInfo& privateKey, const PublicKeyInfo& publicKey) noexcept;

}  // namespace certstore
