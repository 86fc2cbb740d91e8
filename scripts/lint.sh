#!/usr/bin/env bash
# Checks the layers and the table of limits, then the sources of the library and the examples with
# cppcheck and with clang-tidy, which .clang-tidy sets up. Builds nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

say "Checking the layers and the table of limits"
bash scripts/check_layers.sh
bash scripts/check_limits.sh

say "Installing what is missing"
bash scripts/install_packages.sh
bash scripts/install_packages.sh lint

folders=(support certstore examples)
cores=$(nproc)

say "cppcheck"
# CastIntegerToAddressAtReturn takes elements of arrays of pointers for integers; of real cases the
# compiler lets none pass.
cppcheck -j "$cores" --quiet --std=c++20 --language=c++ -I . \
    --enable=warning,performance,portability --suppress=CastIntegerToAddressAtReturn \
    --inline-suppr --error-exitcode=1 "${folders[@]}"

say "clang-tidy"
# Only for the command that compiles each file.
cmake --preset release >/dev/null
# Largest first, so that no core is left with a long file in the end. Standard error has nothing
# but counts of the warnings in headers of the system.
find "${folders[@]}" -name '*.cpp' -printf '%s %p\n' | sort -rn | cut -d ' ' -f 2 \
    | xargs -P "$cores" -n 1 clang-tidy-14 --quiet -p build/release 2>/dev/null

say "Nothing found."
