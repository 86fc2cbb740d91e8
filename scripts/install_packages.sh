#!/usr/bin/env bash
# Installs what building, testing and demonstrating certstore needs from Debian, and only what is
# missing: where everything is present no network and no privilege is needed. With the argument
# `interop` also the programs that the interoperability tests get files from, with `bench` also the
# peers that the benchmarks run beside, with `fuzz` the compiler that has libFuzzer, with `lint`,
# `valgrind` or `coverage` what the script of that name runs.
set -euo pipefail

packages=(cmake ninja-build g++ libgtest-dev libssl-dev nlohmann-json3-dev openssl ca-certificates)
[[ ${1:-} != interop ]] || packages+=(gnutls-bin libnss3-tools default-jre-headless)
[[ ${1:-} != bench ]] || packages+=(libbenchmark-dev pkg-config libgnutls28-dev libmbedtls-dev
    libnss3-dev python3 python3-matplotlib)
[[ ${1:-} != fuzz ]] || packages+=(clang libclang-rt-dev)
[[ ${1:-} != lint ]] || packages+=(clang-tidy-14 cppcheck)
[[ ${1:-} != valgrind ]] || packages+=(valgrind libc6-dbg)
[[ ${1:-} != coverage ]] || packages+=(gcovr)

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    echo "Not a Debian system: nothing installed. Needed are the equivalents of ${packages[*]}." >&2
    exit 0
fi

missing=()
for package in "${packages[@]}"; do
    # `dpkg -s` also succeeds for a removed package whose settings stayed behind.
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $state == installed ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "Missing: ${missing[*]}. Neither root nor sudo here; as root, run:" >&2
        echo "  apt-get update && apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

echo "Installing ${missing[*]}"
"${as_root[@]}" apt-get -q update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -q -y install --no-install-recommends "${missing[@]}"
