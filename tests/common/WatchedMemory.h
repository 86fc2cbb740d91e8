#pragma once

#include <atomic>
#include <functional>

#include "support/base/ByteView.h"

// The memory of a test program, whose operator new this replaces: allocations can be made to fail,
// blocks are counted, and secrets are searched for.
namespace watched {

enum class Failing { Once, FromThenOn };

// Runs an operation whose n-th allocation in this thread fails, or all from the n-th on; it may
// throw std::bad_alloc. How many have failed.
long runFailing(long n, Failing failing, const std::function<void()>& operation);

// Blocks that are allocated, by any thread.
inline std::atomic<long> g_liveBlocks{0};

// Pieces of secrets that blocks held when they were freed.
inline std::atomic<std::size_t> g_foundWhenFreed{0};

// Searches for these bytes from now on, in both directions, and for as little of them as eight
// that lie at a multiple of eight from either end. Keeps them masked.
void learnSecret(certstore::ByteView secret);
void forgetSecrets();

// Pieces of secrets in all that this process can write: heap, stacks, globals.
std::size_t countInProcess();

}  // namespace watched
