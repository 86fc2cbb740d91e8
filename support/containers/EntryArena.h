#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace certstore {

// Memory for the entries of one table: handed out from chunks, side by side, so that an entry costs
// no allocation of its own and keys lie close. Blocks given back serve later entries of their size.
class EntryArena {
public:
    // Larger blocks are rare (a key is a DN) and live on the heap by themselves.
    static constexpr std::size_t kLargestInChunk = 1024;

    EntryArena() noexcept = default;
    ~EntryArena() = default;

    EntryArena(const EntryArena&) = delete;
    EntryArena& operator=(const EntryArena&) = delete;

    // `size` bytes, aligned for pointers. Throws std::bad_alloc.
    void* allocate(std::size_t size);

    // Gives back a block of allocate(size). Blocks in chunks may also be left to the destructor; a
    // larger one than kLargestInChunk must be given back.
    void release(void* block, std::size_t size) noexcept;

private:
    static constexpr std::size_t kGrain = alignof(void*);
    static constexpr std::size_t kFirstChunk = 2048;
    // Large enough that a chunk's own cost vanishes, small enough that the unused rest does too.
    static constexpr std::size_t kLargestChunk = 65536;

    struct FreeBlock {
        FreeBlock* next;
    };
    static std::size_t roundUp(std::size_t size) noexcept;
    void addChunk();

    std::vector<std::unique_ptr<unsigned char[]>> m_chunks;
    unsigned char* m_next = nullptr;
    std::size_t m_left = 0;
    std::size_t m_chunkSize = kFirstChunk;
    std::array<FreeBlock*, kLargestInChunk / kGrain + 1> m_free{};
};

}  // namespace certstore
