#include "support/x509/PrivateKey.h"

#include "support/x509/KeyMatch.h"
#include "support/x509/PublicHalf.h"

namespace certstore {

const PrivateKey* PrivateKey::load(ByteView pkcs8, LogBase& log) {
    std::unique_ptr<PrivateKey> key(new PrivateKey(pkcs8));
    if (const char* reason = key->read()) {
        log.LogError(reason);
        return nullptr;
    }
    return key.release();
}

PrivateKey::PrivateKey(ByteView pkcs8) {
    m_pkcs8.m_secure = true;
    m_pkcs8.reserve(static_cast<unsigned int>(pkcs8.size()));
    m_pkcs8.append(pkcs8);
}

const char* PrivateKey::read() {
    if (!readPrivateKeyInfo(m_pkcs8.view(), m_info))
        return "Not an unencrypted PKCS#8 private key.";
    if (!derivePublicBits(m_info, m_publicBits))
        return "The private key is out of range for its kind.";
    const ByteView derived = m_publicBits.view();
    if (derived.empty())
        return nullptr;
    if (matchKeys(m_info, {m_info.algorithm, m_info.parameters, derived}) == KeyMatch::Different)
        return "The private key's public half does not belong to it.";
    m_info.publicBits = derived;
    return nullptr;
}

}  // namespace certstore
