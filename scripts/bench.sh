#!/usr/bin/env bash
# Builds the benchmarks beside the peers that Debian has, runs them, and writes a table of each in
# Markdown to standard output and to build/release/bench/reports/bench.md. Arguments go to every
# program (--benchmark_filter=RSA).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
reports=build/release/bench/reports

{
    bash scripts/install_packages.sh bench
    cmake --preset release -DCERTSTORE_BUILD_BENCH=ON
    cmake --build --preset release --target certstore_bench
} >&2
rm -rf "$reports" && mkdir -p "$reports"

# Interleaved, so that what else the machine does meanwhile falls on all libraries alike.
for program in build/release/bench/*_bench; do
    echo "Running $(basename "$program")" >&2
    "$program" --benchmark_min_time=0.05 --benchmark_repetitions=9 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out="$reports/$(basename "$program").json" --benchmark_out_format=json \
        "$@" >"$reports/log" 2>&1 || { cat "$reports/log" >&2; exit 1; }
done
find "$reports" -name '*.json' -empty -delete  # of programs that a filter left nothing of
python3 scripts/bench_table.py "$reports"/*.json | tee "$reports/bench.md"
