#!/usr/bin/env bash
# Runs the tests and tells how much of support/ and certstore/ they reach: the lines covered in each
# folder, then of each file that is not covered whole, its numbers and the lines that no test
# reached. What only runs in the compiler counts as not reached. CERTSTORE_VECTORS_DIR names the
# folder of foreign vectors.
set -euo pipefail

vectors=${CERTSTORE_VECTORS_DIR:-}
[[ -z $vectors ]] || vectors=$(realpath -e -- "$vectors")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

{
    bash scripts/install_packages.sh
    bash scripts/install_packages.sh coverage
    cmake --preset coverage -DCERTSTORE_VECTORS_DIR:PATH="$vectors"
    cmake --build --preset coverage
    find build/coverage -name '*.gcda' -delete
    ctest --preset coverage -j2
} >&2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
gcovr -j "$(nproc)" -r . -f support/ -f certstore/ --csv "$scratch/files.csv" \
    --txt "$scratch/files.txt" build/coverage >&2

awk -F , 'NR > 1 {
    folder = $1
    sub(/\/[^\/]*$/, "", folder)
    total[folder] += $2; covered[folder] += $3; total["~all"] += $2; covered["~all"] += $3
}
END {
    for (folder in total)
        printf "%-24s %6d of %6d lines %6.1f %%\n", folder, covered[folder], total[folder],
               100 * covered[folder] / total[folder]
}' "$scratch/files.csv" | sort | sed 's/^~/ /'
echo
grep -v ' 100% *$' "$scratch/files.txt"
