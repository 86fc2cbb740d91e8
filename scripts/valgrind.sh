#!/usr/bin/env bash
# Runs the test programs under valgrind's memcheck, which finds what the sanitizers do not: reads of
# memory that nothing was written to. Fails at the first report or leak. Arguments are names of
# programs to run instead of all (certstore_test).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

{
    bash scripts/install_packages.sh
    bash scripts/install_packages.sh valgrind
    cmake --preset release -DCMAKE_CXX_FLAGS=-g -B build/valgrind
    cmake --build build/valgrind
} >&2

# Memory that can still be reached in the end is no leak: sets of roots live as long as the process,
# and tests keep certificates that they have read. The functions by which programs replace operator
# new stay in place. Without the foreign vectors: they would take hours here, through code that
# other tests reach too.
for program in $(find build/valgrind/tests -name '*_test' -type f -executable | sort); do
    name=$(basename "$program")
    [[ $# -eq 0 || " $* " == *" $name "* ]] || continue
    filter='*'
    # Looks on purpose at what is in memory when it is given back, written to or not.
    [[ $name != memory_test ]] || filter=-LeftoverSecrets*
    printf '\n== %s\n' "$name"
    valgrind --quiet --error-exitcode=1 --leak-check=full \
        --errors-for-leak-kinds=definite,indirect,possible \
        --soname-synonyms=somalloc=nouserintercepts "$program" --gtest_brief=1 --gtest_filter="$filter"
done
printf '\n== Nothing found.\n'
