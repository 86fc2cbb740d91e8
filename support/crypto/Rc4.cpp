#include "support/crypto/Rc4.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace certstore {

bool Rc4::setKey(ByteView key) noexcept {
    if (key.empty() || key.size() > kMaxKeySize)
        return false;
    std::iota(m_state.begin(), m_state.end(), static_cast<unsigned char>(0));
    unsigned char j = 0;
    for (std::size_t i = 0; i < m_state.size(); ++i) {
        j = static_cast<unsigned char>(j + m_state[i] + key[i % key.size()]);
        std::swap(m_state[i], m_state[j]);
    }
    m_i = m_j = 0;
    return true;
}

void Rc4::apply(ByteView input, std::span<unsigned char> output) noexcept {
    const std::size_t size = std::min(input.size(), output.size());
    for (std::size_t k = 0; k < size; ++k) {
        m_j = static_cast<unsigned char>(m_j + m_state[++m_i]);
        std::swap(m_state[m_i], m_state[m_j]);
        output[k] = input[k] ^ m_state[(m_state[m_i] + m_state[m_j]) & 0xff];
    }
}

}  // namespace certstore
