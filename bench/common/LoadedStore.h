#pragma once

#include <cstddef>
#include <memory>

#include "bench/peers/Peer.h"

namespace certbench {

enum class Outcome { Hit, Miss };

// A store of one library that was filled with the certificates 0 to N-1, outside of what is timed.
class LoadedStore {
public:
    // Shared by all workloads of one library and N: the last one asked for is kept, so workloads
    // that follow each other find it as the one before left it. Where additions have made it grow
    // by more than a third it is made anew.
    static LoadedStore& get(const Peer& peer, std::size_t count);

    LoadedStore(const Peer& peer, std::size_t count);

    Store& store() noexcept { return *m_store; }

    // Makes searches that find all, or all find nothing, in an order without pattern. The result
    // is their number; 0 when a search, tried once, gave another certificate than it should.
    std::size_t prepare(Search search, Outcome outcome);

    // The DER of `count` certificates that are still to be added.
    std::vector<std::string> takeNew(std::size_t count);

    // Whether a certificate that was added is found. Ends what prepare() made.
    bool finds(const std::string& der);

    // What one certificate takes: memory that the library asked for, and growth of the process.
    double heapBytesEach() const noexcept { return m_heapBytesEach; }
    double residentBytesEach() const noexcept { return m_residentBytesEach; }

private:
    bool findsRightly(Search search, Outcome outcome, const std::vector<unsigned int>& wanted);

    const Peer& m_peer;
    const std::size_t m_count;
    std::size_t m_next;  // the number of the next certificate
    std::unique_ptr<Store> m_store;
    double m_heapBytesEach, m_residentBytesEach;
    Search m_search = Search::Subject;
    Outcome m_outcome = Outcome::Hit;
    std::size_t m_queries = 0;  // none prepared
};

}  // namespace certbench
