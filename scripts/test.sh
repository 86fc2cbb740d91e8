#!/usr/bin/env bash
# Reads the sources for faults (scripts/lint.sh), then builds and runs all tests twice: optimised,
# and under the address, leak and undefined-behaviour sanitizers; then fuzzes for a minute.
# CERTSTORE_VECTORS_DIR names the folder of foreign vectors.
set -euo pipefail

vectors=${CERTSTORE_VECTORS_DIR:-}
[[ -z $vectors ]] || vectors=$(realpath -e -- "$vectors")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

bash scripts/lint.sh

say "Installing what is missing"
bash scripts/install_packages.sh
bash scripts/install_packages.sh interop \
    || echo "Interoperability is tested with the programs that are there."

if [[ -n $vectors ]]; then
    say "Foreign vectors: $vectors"
elif [[ -d ../shared/vectors ]]; then
    vectors=$(realpath ../shared/vectors)
    say "Foreign vectors: $vectors, found beside the checkout"
else
    say "Foreign vectors: none (CERTSTORE_VECTORS_DIR is not set), their tests are skipped"
fi

for preset in release asan-ubsan; do
    say "$preset: configuring"
    cmake --preset "$preset" -DCERTSTORE_VECTORS_DIR:PATH="$vectors"
    say "$preset: building"
    cmake --build --preset "$preset"
    say "$preset: testing"
    ctest --preset "$preset" -j2
done

say "Fuzzing for a minute"
bash scripts/fuzz.sh

say "All tests passed."
