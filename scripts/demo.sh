#!/usr/bin/env bash
# Builds certstore and shows its example programs: `certchain` on chains it can and must follow to a
# root, `exportkey` on a key that must be that of its certificate. Any step that does not get there
# ends the demo with an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '\n== %s\n' "$*"; }

# show COMMAND...: shows the command of an example program and runs it.
show() {
    echo "\$ $*"
    "build/release/examples/$1" "${@:2}"
}

# chain SENTENCE ARGUMENT...: says what is shown, and runs certchain.
chain() {
    say "$1"
    show certchain "${@:2}"
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

pfx=(--pfx "$data/rsa-leaf.p12" --password-file "$data/password.txt")
chain "PKCS#12: the leaf of a file protected by a password" \
    --no-system-roots --root "$data/rsa-root.pem" "${pfx[@]}"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

bundle=/etc/ssl/certs/ca-certificates.crt
awk '/-----BEGIN CERTIFICATE-----/ { inside = 1 } inside { print } /-----END/ { exit }' \
    "$bundle" >"$scratch/root.pem"
chain "The first root of the system's bundle, found among the system's roots" "$scratch/root.pem"

say "The private key of that PKCS#12 file's leaf, found by serial number and issuer"
serial=$(openssl x509 -in "$data/rsa-chain.pem" -noout -serial)
show exportkey "${pfx[@]}" --serial "${serial#serial=}" --issuer "Example Org RSA Issuing CA" \
    --out "$scratch/leaf.key"
ls -l "$scratch/leaf.key"
openssl pkey -in "$scratch/leaf.key" -noout -check
openssl pkey -in "$scratch/leaf.key" -pubout -out "$scratch/key.pub"
openssl x509 -in "$data/rsa-chain.pem" -noout -pubkey >"$scratch/certificate.pub"
cmp "$scratch/key.pub" "$scratch/certificate.pub"
echo "Its public half is the certificate's."

say "All five chains reach a root, and the key is the certificate's."
