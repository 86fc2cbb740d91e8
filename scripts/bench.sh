#!/usr/bin/env bash
# Builds the benchmarks beside the peers that Debian has, runs them, and writes a table of each in
# Markdown to standard output and to bench/RESULTS.md, and bench/cost.svg, a picture of cost against
# the number of certificates. Arguments go to every program (--benchmark_filter=RSA); what is then
# only a part stays in build/release/bench/reports.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
reports=build/release/bench/reports

{
    bash scripts/install_packages.sh bench
    cmake --preset release -DCERTSTORE_BUILD_BENCH=ON
    cmake --build --preset release --target certstore_bench
} >&2
rm -rf "$reports" && mkdir -p "$reports"

# Interleaved, so that what else the machine does meanwhile falls on all libraries alike; but not
# where workloads share a store that takes seconds to fill.
options_of() {
    case $1 in
        allocation_bench) ;;  # counts
        store_bench | threads_bench)
            echo --benchmark_min_time=0.03 --benchmark_repetitions=3 ;;
        *)
            echo --benchmark_min_time=0.05 --benchmark_repetitions=9 \
                --benchmark_enable_random_interleaving=true ;;
    esac
}

for program in build/release/bench/*_bench; do
    name=$(basename "$program")
    echo "Running $name" >&2
    # shellcheck disable=SC2046
    "$program" $(options_of "$name") --benchmark_report_aggregates_only=true \
        --benchmark_out="$reports/$name.json" --benchmark_out_format=json \
        "$@" >"$reports/log" 2>&1 || { cat "$reports/log" >&2; exit 1; }
done
find "$reports" -name '*.json' -empty -delete  # of programs that a filter left nothing of
python3 scripts/bench_table.py "$reports"/*.json | tee "$reports/bench.md"
if [[ $# -eq 0 ]]; then
    {
        printf '# Benchmark results\n\nWritten by `scripts/bench.sh`.\n\n'
        printf '![Cost against the number of certificates](cost.svg)\n\n'
        cat "$reports/bench.md"
    } >bench/RESULTS.md
    # The system's python, to which the system's packages belong.
    /usr/bin/python3 scripts/bench_picture.py "$reports/store_bench.json" bench/cost.svg
fi
