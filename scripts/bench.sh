#!/usr/bin/env bash
# Builds the benchmarks beside the peers that Debian has, and runs them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

bash scripts/install_packages.sh bench
cmake --preset release -DCERTSTORE_BUILD_BENCH=ON
cmake --build --preset release --target open_pkcs12_bench
echo "Peers: $(openssl version), GnuTLS $(dpkg-query -W -f='${Version}' libgnutls28-dev)"
build/release/bench/open_pkcs12_bench
