#include "support/containers/EntryArena.h"

#include <algorithm>
#include <new>

namespace certstore {

std::size_t EntryArena::roundUp(std::size_t size) noexcept {
    return (size + kGrain - 1) / kGrain * kGrain;
}

void* EntryArena::allocate(std::size_t size) {
    if (size > kLargestInChunk)
        return ::operator new(size);
    const std::size_t rounded = roundUp(size);
    FreeBlock*& free = m_free[rounded / kGrain];
    if (free) {
        FreeBlock* block = free;
        free = block->next;
        return block;
    }
    if (m_left < rounded)
        addChunk();
    unsigned char* block = m_next;
    m_next += rounded;
    m_left -= rounded;
    return block;
}

void EntryArena::release(void* block, std::size_t size) noexcept {
    if (size > kLargestInChunk) {
        ::operator delete(block);
        return;
    }
    FreeBlock*& free = m_free[roundUp(size) / kGrain];
    free = new (block) FreeBlock{free};
}

void EntryArena::addChunk() {
    // Space for the pointer first: nothing may fail once the chunk is there.
    m_chunks.reserve(m_chunks.size() + 1);
    m_chunks.emplace_back(new unsigned char[m_chunkSize]);
    m_next = m_chunks.back().get();
    m_left = m_chunkSize;
    m_chunkSize = std::min(m_chunkSize * 2, kLargestChunk);
}

}  // namespace certstore
