#!/usr/bin/env bash
# Fuzzes the readers of foreign bytes under the sanitizers: fuzz.sh [--keep] [SECONDS [TARGET]]
#
# SECONDS are for each target; without them a minute is shared by all. Begins with the kept inputs
# in fuzz/corpus and those that fuzz/make_seeds.sh makes. With --keep, what the runs have found is
# merged into fuzz/corpus, which stays the smallest set of inputs that covers as much. Fails when a
# target has found something, and tells where the input lies.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

keep=0
[[ ${1:-} != --keep ]] || { keep=1 && shift; }
names=(certificate dn pem_bundle pkcs12 private_key store)
[[ -z ${2:-} ]] || names=("$2")
seconds=${1:-$((60 / ${#names[@]}))}

bash scripts/install_packages.sh fuzz
cmake --preset fuzz
cmake --build --preset fuzz
work=build/fuzz/work
bash fuzz/make_seeds.sh "$work/seeds"

# The longest input of a target: what its reader reads in one piece, and not much more.
declare -A longest=([certificate]=4096 [dn]=1024 [pem_bundle]=8192 [pkcs12]=4096
    [private_key]=4096 [store]=512)

fuzz() {
    local name=$1
    mkdir -p "$work/$name/corpus" "$work/$name/findings" "fuzz/corpus/$name"
    local dictionary=()
    [[ ! -f fuzz/$name.dict ]] || dictionary=("-dict=fuzz/$name.dict")
    build/fuzz/fuzz/fuzz_"$name" -max_total_time="$seconds" -max_len="${longest[$name]}" -timeout=25 \
        -rss_limit_mb=3000 -print_final_stats=1 -artifact_prefix="$work/$name/findings/" \
        "${dictionary[@]}" "$work/$name/corpus" "fuzz/corpus/$name" "$work/seeds/$name" \
        >"$work/$name/log" 2>&1
}

merge() {
    local name=$1
    rm -rf "$work/$name/merged"
    mkdir "$work/$name/merged"
    # Edges alone, without how often each is run: a tenth of the inputs.
    build/fuzz/fuzz/fuzz_"$name" -merge=1 -use_counters=0 -max_len="${longest[$name]}" \
        "$work/$name/merged" "fuzz/corpus/$name" "$work/$name/corpus" "$work/seeds/$name" \
        >"$work/$name/merge.log" 2>&1
    rm -rf "fuzz/corpus/$name"
    mv "$work/$name/merged" "fuzz/corpus/$name"
}

failed=0
for name in "${names[@]}"; do
    result=clean
    fuzz "$name" || result="FOUND something: $(find "$work/$name/findings" -type f -printf '%p ')"
    [[ $result == clean ]] || failed=1
    executions=$(sed -n 's/^stat::number_of_executed_units: //p' "$work/$name/log")
    coverage=$(sed -nE 's/.* cov: ([0-9]+) .*/\1/p' "$work/$name/log" | tail -1)
    printf '%-12s %9s executions, %5s edges, %s\n' "$name" "${executions:-?}" "${coverage:-?}" \
        "$result"
    if [[ $result != clean ]]; then
        grep -m 3 -E 'Broken promise|ERROR:|error:|error in' "$work/$name/log" || true
        echo "  again: build/fuzz/fuzz/fuzz_$name INPUT    all of it: $work/$name/log"
    elif [[ $keep == 1 ]]; then
        merge "$name"
    fi
done
[[ $keep == 0 ]] || du -sb fuzz/corpus
exit "$failed"
