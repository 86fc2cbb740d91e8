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
    filter='*' leaks=definite,indirect,possible
    # To find leftover secrets it looks on purpose at memory that nothing was written to; and its
    # operator new gives what lies inside a block, which for sets of roots looks like half a leak.
    [[ $name != memory_test ]] || filter=-LeftoverSecrets* leaks=definite,indirect
    printf '\n== %s\n' "$name"
    valgrind --quiet --error-exitcode=1 --leak-check=full --show-leak-kinds="$leaks" \
        --errors-for-leak-kinds="$leaks" --soname-synonyms=somalloc=nouserintercepts \
        "$program" --gtest_brief=1 --gtest_filter="$filter"
done
printf '\n== Nothing found.\n'
