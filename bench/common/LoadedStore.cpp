#include "bench/common/LoadedStore.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "bench/common/Certificates.h"

namespace certbench {

namespace {

// So many that what the searches touch does not fit into a cache when N is large.
constexpr std::size_t kMostQueries = 65'536;
// A walk touches everything each time.
constexpr std::size_t kWalkQueries = 16;
// Searches whose result is compared in full.
constexpr std::size_t kMostChecked = 1'000;

struct Memory {
    double heap, resident;

    static Memory now() {
        malloc_trim(0);
        const struct mallinfo2 info = mallinfo2();
        std::ifstream file("/proc/self/statm");
        double all = 0, resident = 0;
        file >> all >> resident;
        return {static_cast<double>(info.uordblks + info.hblkhd),
                resident * static_cast<double>(sysconf(_SC_PAGESIZE))};
    }
};

// A certificate that the search can be for: only a leaf has an issuer and a chain of three.
unsigned int fitFor(Search search, unsigned int number) {
    const bool upwards = search == Search::Issuer || search == Search::Chain;
    return upwards ? rootOf(number) + kFamily - 1 : number;
}

unsigned int resultOf(Search search, unsigned int wanted) {
    if (search == Search::Issuer)
        return issuerOf(wanted);
    return search == Search::Chain ? rootOf(wanted) : wanted;
}

}  // namespace

LoadedStore& LoadedStore::get(const Peer& peer, std::size_t count) {
    static std::unique_ptr<LoadedStore> last;
    if (!last || &last->m_peer != &peer || last->m_count != count
        || last->m_next > count + count / 3) {
        last.reset();  // first, as a library may allow one at a time
        last = std::make_unique<LoadedStore>(peer, count);
    }
    return *last;
}

LoadedStore::LoadedStore(const Peer& peer, std::size_t count)
    : m_peer(peer), m_count(count), m_next(count) {
    const Memory before = Memory::now();
    m_store = peer.makeStore(count);
    for (unsigned int number = 0; number < count; ++number)
        m_store->addOneOfMany(certstore::bytesOf(certificateDer(number)));
    const Memory after = Memory::now();
    m_heapBytesEach = (after.heap - before.heap) / static_cast<double>(count);
    m_residentBytesEach = (after.resident - before.resident) / static_cast<double>(count);
}

std::vector<std::string> LoadedStore::takeNew(std::size_t count) {
    std::vector<std::string> ders(count);
    for (std::string& der : ders)
        der = certificateDer(static_cast<unsigned int>(m_next++));
    return ders;
}

bool LoadedStore::finds(const std::string& der) {
    m_queries = 0;
    std::string found;
    m_store->prepare(Search::Subject, {der});
    return m_store->find(0, &found) && found == der;
}

std::size_t LoadedStore::prepare(Search search, Outcome outcome) {
    if (m_queries != 0 && m_search == search && m_outcome == outcome)
        return m_queries;
    const std::size_t most = m_peer.way(search) == Way::Walk ? kWalkQueries : kMostQueries;
    std::mt19937 random(1);
    std::vector<unsigned int> wanted(std::min(most, m_count));
    std::vector<std::string> ders;
    for (unsigned int& number : wanted) {
        number = fitFor(search, static_cast<unsigned int>(random() % m_count));
        number += outcome == Outcome::Hit ? 0 : kFirstStranger;
        ders.push_back(certificateDer(number));
    }
    m_store->prepare(search, ders);
    m_search = search;
    m_outcome = outcome;
    m_queries = findsRightly(search, outcome, wanted) ? wanted.size() : 0;
    return m_queries;
}

bool LoadedStore::findsRightly(Search search, Outcome outcome,
                               const std::vector<unsigned int>& wanted) {
    for (std::size_t i = 0; i < std::min(wanted.size(), kMostChecked); ++i) {
        std::string der;
        const bool found = m_store->find(i, &der);
        if (found != (outcome == Outcome::Hit))
            return false;
        if (found && der != certificateDer(resultOf(search, wanted[i])))
            return false;
    }
    return true;
}

}  // namespace certbench
