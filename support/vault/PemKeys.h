#pragma once

#include <string>
#include <string_view>

#include "support/base/ByteView.h"
#include "support/buffers/DataBuffer.h"
#include "support/encoding/Pem.h"
#include "support/pkcs12/KdfBudget.h"
#include "support/pkcs12/PfxPassword.h"
#include "support/pkcs12/Pkcs12Limits.h"

namespace certstore {

// Turns the private keys of one PEM text into PKCS#8, whatever form they are written in. What the
// key derivations of all of them take is counted together.
class PemKeys {
public:
    // `password` may be null. The limits are kept, not copied. Throws std::bad_alloc.
    PemKeys(const char* password, const Pkcs12Limits& limits)
        : m_password(password), m_limits(limits), m_budget(limits) {}

    // "PRIVATE KEY" (RFC 5958 section 2), "ENCRYPTED PRIVATE KEY" (section 3), "RSA PRIVATE KEY"
    // (RFC 8017 appendix A.1.2) and "EC PRIVATE KEY" (RFC 5915).
    static bool isKeyLabel(std::string_view label) noexcept;

    // Replaces the content of `pkcs8`, which is marked secure first, by the key of this block as
    // unencrypted PKCS#8 DER. False when it cannot be read or would take more than the limits
    // allow; problem() then says why, and `pkcs8` is of no use. Requires: isKeyLabel(block.label).
    // Throws std::bad_alloc.
    [[nodiscard]] bool read(const PemBlock& block, DataBuffer& pkcs8);

    // Such as "decryption failed". Never holds anything of a key.
    const std::string& problem() const noexcept { return m_problem; }

private:
    bool fail(std::string problem);
    bool decode(std::string_view body, DataBuffer& der);
    bool decrypt(ByteView encryptedKey, DataBuffer& pkcs8);
    bool wrapEcKey(ByteView key, DataBuffer& pkcs8);

    PfxPassword m_password;
    const Pkcs12Limits& m_limits;
    KdfBudget m_budget;
    std::string m_problem;
};

}  // namespace certstore
