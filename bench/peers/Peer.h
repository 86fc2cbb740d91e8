#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/base/ByteView.h"

// One library as the workloads see it, so that each workload is written once. A library does each
// job by the calls that its users would use; one that cannot do a job says so, in words for the
// table.
namespace certbench {

using certstore::ByteView;

// Issuer: of a certificate at hand. Chain: of a certificate at hand up to its root, with no
// signature checked. The others are for a certificate that has a value.
enum class Search { Subject, SerialAndIssuer, SubjectKeyId, Email, Issuer, Chain };

enum class Way {
    Index,
    Walk,  // every certificate is looked at
    None,
};

// A library's store. Calls are not checked against each other: prepare() before find().
class Store {
public:
    Store() = default;
    virtual ~Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // From bytes to a certificate that can be found.
    virtual bool add(ByteView der) = 0;

    // The same outside of what is timed, where a library has a quicker way for many.
    virtual bool addOneOfMany(ByteView der) { return add(der); }

    // Makes the library's own form of the searches for these certificates.
    virtual void prepare(Search search, const std::vector<std::string>& wanted) = 0;

    // Runs a search that was prepared. `found`, unless null, receives the certificate's DER, of a
    // chain the last one's. Several threads may search at a time where Peer::searchesInThreads.
    virtual bool find(std::size_t query, std::string* found) = 0;
};

enum class Field { Subject, Issuer, Serial, SubjectKeyId, AuthorityKeyId, Email, PublicKey };

// Takes what a library reads from a certificate, in the form in which it gives it.
class FieldSink {
public:
    void take(Field field, std::string_view value) {
        benchmark::DoNotOptimize(value.data());
        benchmark::DoNotOptimize(value.size());
        if (keep)
            values[static_cast<std::size_t>(field)] = value;
    }
    void take(Field field, ByteView value) { take(field, certstore::textOf(value)); }

    const std::string& operator[](Field field) const {
        return values[static_cast<std::size_t>(field)];
    }

    bool keep = false;  // outside of what is timed

private:
    std::array<std::string, 7> values;
};

struct Peer {
    std::string name;

    // Parses one certificate and frees it. With a sink, reads all its fields in between.
    bool (*parse)(ByteView der, FieldSink* fields) = nullptr;

    // The number of certificates of a PEM file that went into a new store. Null: reads no such
    // file.
    int (*loadBundle)(const char* path) = nullptr;

    // A new store, which will hold about this many. Only one at a time.
    std::unique_ptr<Store> (*makeStore)(std::size_t size) = nullptr;

    // How a library searches.
    Way (*way)(Search search) = nullptr;

    // More certificates than this take too much time or memory; why, for the table.
    std::size_t largestStore = 0;
    const char* whyNotLarger = "";

    bool searchesInThreads = false;
};

}  // namespace certbench
