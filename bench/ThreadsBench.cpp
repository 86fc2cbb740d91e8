// Searches per second in one store by 1, 2, 4 and 8 threads.

#include "bench/common/Bench.h"
#include "bench/common/LoadedStore.h"
#include "bench/peers/Peers.h"

using namespace certbench;

namespace {

constexpr const char* kNote = "Time on the wall for each search that any of the threads finishes.";

void findInThreads(benchmark::State& state, const Peer& peer) {
    static LoadedStore* loaded;
    static std::size_t queries;
    // The others wait for this at the head of the loop.
    if (state.thread_index() == 0) {
        loaded = &LoadedStore::get(peer, static_cast<std::size_t>(state.range(0)));
        queries = loaded->prepare(Search::Subject, Outcome::Hit);
    }
    // Each thread has its own part of the queries.
    std::size_t query = 0;
    for (auto _ : state) {
        const std::size_t share = queries / static_cast<std::size_t>(state.threads());
        const std::size_t own = share * static_cast<std::size_t>(state.thread_index()) + query;
        if (!loaded->store().find(own, nullptr)) {
            state.SkipWithError("finds nothing");
            break;
        }
        query = query + 1 < share ? query + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void registerPeer(const Peer& peer, int size) {
    benchmark::RegisterBenchmark(("find by subject|" + peer.name).c_str(),
                                 [&peer](benchmark::State& state) { findInThreads(state, peer); })
        ->ArgName("N")
        ->Arg(size)
        ->ThreadRange(1, 8)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    static const Peer lockedFloor = lockedFloorPeer();
    for (const int size : {1'000, 100'000}) {
        for (const Peer& peer : allPeers())
            if (peer.searchesInThreads)
                registerPeer(peer, size);
        registerPeer(lockedFloor, size);
    }
    return runBenchmarks(argc, argv, kNote);
}
