#include "support/x509/SignatureMemory.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace certstore {

namespace {

// A certificate, and so a key in one, has at most 1 MiB.
using Size = std::uint32_t;

ByteView keyIn(const unsigned char* block) noexcept {
    Size size = 0;
    std::memcpy(&size, block, sizeof size);
    return {block + sizeof size, size};
}

// Null without memory.
std::unique_ptr<const unsigned char[]> makeBlock(ByteView key) noexcept {
    try {
        const Size size = static_cast<Size>(key.size());
        std::unique_ptr<unsigned char[]> block(new unsigned char[sizeof size + key.size()]);
        std::memcpy(block.get(), &size, sizeof size);
        std::memcpy(block.get() + sizeof size, key.data(), key.size());
        return block;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

bool SignatureMemory::isGoodUnder(ByteView spki) const noexcept {
    const unsigned char* block = m_key.load(std::memory_order_acquire);
    return block && equalBytes(keyIn(block), spki);
}

void SignatureMemory::rememberGood(ByteView spki) noexcept {
    if (m_key.load(std::memory_order_relaxed))
        return;
    std::unique_ptr<const unsigned char[]> block = makeBlock(spki);
    const unsigned char* none = nullptr;
    if (block && m_key.compare_exchange_strong(none, block.get(), std::memory_order_acq_rel))
        block.release();
}

}  // namespace certstore
