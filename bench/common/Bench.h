#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the benchmark programs share. A benchmark is named
//
//     workload|library    or    workload|library/N:100000
//
// and nothing else in the name is fixed: scripts/bench_table.py makes a row of each workload (and
// N) and a column of each library. Ours is always `kOurs`; peers carry their version, so that a
// table says what was measured.
namespace certbench {

inline constexpr const char* kOurs = "certstore";

// "libcrypto 3.0.19" and "GnuTLS 3.7.9": the versions in use at run time. Empty when this program
// was built without the peer.
std::string libcryptoName();
std::string gnutlsName();

// A file of tests/data. A missing one ends the program with a message.
std::string readTestFile(const std::string& name);

// The certificates of such a PEM file, each as its DER, in the file's order.
std::vector<std::string> readTestCerts(const std::string& name);

// Runs what was registered, as the command line of Google Benchmark says, with the processor and
// the compiler in the report's context, and `note`, which the table shows. The result is that of
// main().
int runBenchmarks(int argc, char** argv, const std::string& note = {});

// Time that this process has had of the processor: what else runs meanwhile does not count.
double processorSeconds();

// Registers one cell of the table: the time of `operation`, which takes nothing and returns whether
// it did its work. When it did not, the cell shows what `reason()`, asked right after, returns
// instead of a time. Time is that of the processor. Chain ->ArgName("N")->Arg(n) for a label N.
template <typename Operation, typename Reason>
benchmark::internal::Benchmark* measure(const std::string& workload, const std::string& library,
                                        Operation operation, Reason reason) {
    const auto run = [=](benchmark::State& state) mutable {
        for (auto _ : state) {
            if (!operation()) {
                state.SkipWithError(std::string(reason()).c_str());
                break;
            }
        }
    };
    return benchmark::RegisterBenchmark((workload + "|" + library).c_str(), run);
}

// The same for an operation that must find everything as it is before a first use: `prepare` makes
// a value, which the operation takes by reference, anew for each call. Neither making it nor
// destroying it is timed.
template <typename Prepare, typename Operation, typename Reason>
benchmark::internal::Benchmark* measureFresh(const std::string& workload,
                                             const std::string& library, Prepare prepare,
                                             Operation operation, Reason reason) {
    const auto run = [=](benchmark::State& state) mutable {
        for (auto _ : state) {
            auto value = prepare();
            const double start = processorSeconds();
            const bool good = operation(value);
            const double end = processorSeconds();
            if (!good) {
                state.SkipWithError(std::string(reason()).c_str());
                break;
            }
            state.SetIterationTime(end - start);
        }
    };
    return benchmark::RegisterBenchmark((workload + "|" + library).c_str(), run)->UseManualTime();
}

}  // namespace certbench
