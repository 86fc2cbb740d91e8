// What a store costs that holds N certificates: to find one in it, to build a chain without
// checking signatures, to add one more, and the memory that each takes. The floor of all this is
// four std::unordered_map; the floor of how it grows with N is memory latency.

#include <algorithm>
#include <numeric>
#include <random>

#include "bench/common/Bench.h"
#include "bench/common/Certificates.h"
#include "bench/common/LoadedStore.h"
#include "bench/peers/Peers.h"

using namespace certbench;

namespace {

constexpr const char* kNote =
    "N certificates are in the store; searches are in random order. Adding is from DER to "
    "findable; mbedTLS then walks to the end of its list, X509_STORE sorts anew. What a library "
    "has no index for is found by a walk over all. The floor is four `std::unordered_map` and a "
    "bare walk over the DER.";

constexpr int kSizes[] = {1'000, 10'000, 100'000, 1'000'000};

struct SearchRow {
    const char* name;
    Search search;
    Outcome outcome;
};
constexpr SearchRow kSearches[] = {
    {"find by subject", Search::Subject, Outcome::Hit},
    {"find by subject, absent", Search::Subject, Outcome::Miss},
    {"find by serial number and issuer", Search::SerialAndIssuer, Outcome::Hit},
    {"find by serial number and issuer, absent", Search::SerialAndIssuer, Outcome::Miss},
    {"find by subject key identifier", Search::SubjectKeyId, Outcome::Hit},
    {"find by subject key identifier, absent", Search::SubjectKeyId, Outcome::Miss},
    {"find by e-mail address", Search::Email, Outcome::Hit},
    {"find by e-mail address, absent", Search::Email, Outcome::Miss},
    {"find the issuer", Search::Issuer, Outcome::Hit},
    {"find the issuer, absent", Search::Issuer, Outcome::Miss},
    {"build a chain of three, unverified", Search::Chain, Outcome::Hit},
};

std::size_t sizeOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void find(benchmark::State& state, const Peer& peer, const SearchRow& row) {
    LoadedStore& loaded = LoadedStore::get(peer, sizeOf(state));
    const std::size_t queries = loaded.prepare(row.search, row.outcome);
    if (queries == 0) {
        state.SkipWithError("finds another");
        return;
    }
    std::size_t query = 0;
    for (auto _ : state) {
        if (loaded.store().find(query, nullptr) != (row.outcome == Outcome::Hit)) {
            state.SkipWithError("finds another");
            break;
        }
        query = query + 1 < queries ? query + 1 : 0;
    }
}

void add(benchmark::State& state, const Peer& peer) {
    constexpr std::size_t kBlock = 250;  // made ahead of time
    LoadedStore* loaded = nullptr;
    std::vector<std::string> ders;
    std::size_t next = 0;
    for (auto _ : state) {
        if (next == ders.size()) {
            state.PauseTiming();
            loaded = &LoadedStore::get(peer, sizeOf(state));
            ders = loaded->takeNew(kBlock);
            next = 0;
            state.ResumeTiming();
        }
        if (!loaded->store().add(certstore::bytesOf(ders[next++]))) {
            state.SkipWithError("does not add");
            return;
        }
    }
    if (!loaded->finds(ders[next - 1]))
        state.SkipWithError("does not find what was added");
}

// Both numbers were taken when the store was filled; nothing is timed.
void measureMemory(benchmark::State& state, const Peer& peer) {
    const LoadedStore& loaded = LoadedStore::get(peer, sizeOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(loaded);
    state.counters["heap bytes"] = loaded.heapBytesEach();
    state.counters["resident bytes"] = loaded.residentBytesEach();
}

// A cycle through one cache line of each of N blocks as large as a certificate in a store: what it
// costs to go where one pointer points.
void chasePointers(benchmark::State& state) {
    constexpr std::size_t kBlock = 2'048 / sizeof(std::size_t);
    std::vector<std::size_t> order(sizeOf(state)), memory(order.size() * kBlock);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    for (std::size_t i = 0; i < order.size(); ++i)
        memory[order[i] * kBlock] = order[(i + 1) % order.size()] * kBlock;
    std::size_t at = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(at = memory[at]);
}

// Registers the cell of one library and N; one that it cannot do tells why.
template <typename Run>
void registerCell(const std::string& workload, const Peer& peer, int size, bool possible, Run run) {
    const bool tooLarge = static_cast<std::size_t>(size) > peer.largestStore;
    const char* const whyNot = tooLarge ? peer.whyNotLarger
        : possible                      ? nullptr
                                        : "has no such search";
    benchmark::RegisterBenchmark((workload + "|" + peer.name).c_str(),
                                 [=, &peer](benchmark::State& state) {
                                     if (whyNot)
                                         state.SkipWithError(whyNot);
                                     else
                                         run(state, peer);
                                 })
        ->ArgName("N")
        ->Arg(size);
}

void registerStore(const Peer& peer, int size) {
    for (const SearchRow& row : kSearches)
        registerCell(row.name, peer, size, peer.way(row.search) != Way::None,
                     [&row](benchmark::State& state, const Peer& p) { find(state, p, row); });
    if (static_cast<std::size_t>(size) <= peer.largestStore)
        registerCell("memory of one certificate", peer, size, true, measureMemory);
    // Last, as the store grows.
    registerCell("add a certificate", peer, size, true, add);
}

}  // namespace

int main(int argc, char** argv) {
    for (const int size : kSizes)
        for (const Peer& peer : allPeers())
            registerStore(peer, size);
    for (const int size : kSizes)
        benchmark::RegisterBenchmark("follow a pointer into one of N blocks of 2 KiB|floor",
                                     chasePointers)
            ->ArgName("N")
            ->Arg(size);
    return runBenchmarks(argc, argv, kNote);
}
