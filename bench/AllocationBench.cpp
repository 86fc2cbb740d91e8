// How often each operation allocates: ours, and the floor, which allocates what it must. Counted by
// the operators that this program replaces, so times are not those of other programs.

#include <atomic>
#include <cstdlib>
#include <new>

#include "bench/common/Bench.h"
#include "bench/common/Certificates.h"
#include "bench/common/LoadedStore.h"
#include "bench/peers/Peers.h"

namespace {

std::atomic<std::size_t> g_allocations{0};

void* allocate(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}

}  // namespace

// The array and nothrow forms end up here.
void* operator new(std::size_t size) {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

using namespace certbench;

namespace {

constexpr const char* kNote = "Calls of `operator new`.";

constexpr int kStoreSize = 10'000;

constexpr int kCalls = 1'000;

// The first call makes what the others need and is not counted.
enum class Step { Prepare, Count };

// Counts the allocations of each call of `operation`, which tells whether it did its work.
template <typename Operation>
void countAllocations(const std::string& workload, const Peer& peer, Operation operation) {
    const auto run = [=](benchmark::State& state) mutable {
        bool good = operation(Step::Prepare);
        const std::size_t before = g_allocations;
        for (auto _ : state)
            if (!(good = good && operation(Step::Count)))
                state.SkipWithError("does not do it");
        state.counters["allocations"] = benchmark::Counter(
            static_cast<double>(g_allocations - before), benchmark::Counter::kAvgIterations);
    };
    benchmark::RegisterBenchmark((workload + "|" + peer.name).c_str(), run)->Iterations(kCalls);
}

void countParse(const Peer& peer) {
    static const std::string text = certificateDer(1);
    const ByteView der = certstore::bytesOf(text);
    countAllocations("parse a certificate", peer, [=](Step) { return peer.parse(der, nullptr); });
    countAllocations("parse a certificate and read its fields", peer,
                     [=, fields = FieldSink()](Step) mutable { return peer.parse(der, &fields); });
}

void countSearch(const Peer& peer, const char* name, Search search) {
    struct State {
        LoadedStore* loaded = nullptr;
        std::size_t queries = 0, next = 0;
    };
    countAllocations(name, peer, [=, &peer, at = State()](Step step) mutable {
        if (step == Step::Prepare) {
            at.loaded = &LoadedStore::get(peer, kStoreSize);
            at.queries = at.loaded->prepare(search, Outcome::Hit);
        }
        return at.queries != 0 && at.loaded->store().find(at.next++ % at.queries, nullptr);
    });
}

void countAdd(const Peer& peer) {
    struct State {
        LoadedStore* loaded = nullptr;
        std::vector<std::string> ders;
    };
    countAllocations("add a certificate", peer, [&peer, at = State()](Step step) mutable {
        if (step == Step::Prepare) {
            at.loaded = &LoadedStore::get(peer, kStoreSize);
            at.ders = at.loaded->takeNew(kCalls + 1);
        }
        const std::string der = std::move(at.ders.back());
        at.ders.pop_back();
        return at.loaded->store().add(certstore::bytesOf(der));
    });
}

}  // namespace

int main(int argc, char** argv) {
    static const Peer peers[] = {certstorePeer(), floorPeer()};
    for (const Peer& peer : peers) {
        countParse(peer);
        countSearch(peer, "find by subject", Search::Subject);
        countSearch(peer, "find by serial number and issuer", Search::SerialAndIssuer);
        countSearch(peer, "find by subject key identifier", Search::SubjectKeyId);
        countSearch(peer, "find by e-mail address", Search::Email);
        countSearch(peer, "find the issuer", Search::Issuer);
        countSearch(peer, "build a chain of three, unverified", Search::Chain);
        countAdd(peer);
    }
    return runBenchmarks(argc, argv, kNote);
}
