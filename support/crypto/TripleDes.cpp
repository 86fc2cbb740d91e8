#include "support/crypto/TripleDes.h"

#include <cstdint>

#include "support/crypto/BigEndian.h"

namespace certstore {

bool TripleDesDecryptor::setKey(ByteView key) noexcept {
    constexpr std::size_t kKeySize = DesKey::kKeySize;
    if (key.size() != 2 * kKeySize && key.size() != 3 * kKeySize)
        return false;
    return m_first.setKey(key.first(kKeySize)) && m_second.setKey(key.subspan(kKeySize, kKeySize))
        && m_third.setKey(key.size() == 3 * kKeySize ? key.last(kKeySize) : key.first(kKeySize));
}

void TripleDesDecryptor::decryptBlock(const unsigned char* input,
                                      unsigned char* output) const noexcept {
    const std::uint64_t once = m_third.decrypt(loadBigEndian<std::uint64_t>(input));
    storeBigEndian(m_first.decrypt(m_second.encrypt(once)), output);
}

}  // namespace certstore
