#!/usr/bin/env bash
# Builds certstore and shows the example program `certchain` on chains it can and must follow to a
# root. Any step that does not get there ends the demo with an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

# chain SENTENCE ARGUMENT...: says what is shown, shows the command, runs it.
chain() {
    say "$1"
    shift
    echo "\$ certchain $*"
    build/release/examples/certchain "$@"
}

say "Installing what is missing"
bash scripts/install_packages.sh

say "Configuring and building (preset release)"
cmake --preset release
cmake --build --preset release

data=examples/data
chain "RSA: leaf and issuing CA from one file, up to the root given" \
    --no-system-roots --root "$data/rsa-root.pem" "$data/rsa-chain.pem"
chain "Elliptic curves: P-256 leaf and issuing CA below a P-384 root" \
    --no-system-roots --root "$data/ec-root.pem" "$data/ec-chain.pem"
chain "Mixed: an elliptic-curve leaf signed by an RSA root" \
    --no-system-roots --root "$data/rsa-root.pem" "$data/ec-below-rsa.pem"

bundle=/etc/ssl/certs/ca-certificates.crt
system_root=$(mktemp)
trap 'rm -f "$system_root"' EXIT
awk '/-----BEGIN CERTIFICATE-----/ { inside = 1 } inside { print } /-----END/ { exit }' \
    "$bundle" >"$system_root"
chain "The first root of the system's bundle, found among the system's roots" "$system_root"

say "All four chains reach a root."
