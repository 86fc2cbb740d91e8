#!/usr/bin/env bash
# Makes the chains in this folder anew, with new keys. None is kept but that of the RSA leaf.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=../../scripts/certificate_functions.sh
source ../../scripts/certificate_functions.sh

org="/C=XX/O=Example Org"
root_extensions=$ca_extensions$'\n'$with_key_ids
intermediate_extensions=${root_extensions/CA:TRUE/CA:TRUE,pathlen:0}

# leaf_for HOST: the extensions of a server's certificate.
leaf_for() {
    printf '%s\n' "$leaf_extensions" "$with_key_ids" 'extendedKeyUsage=serverAuth' \
        "subjectAltName=DNS:$1"
}

make_key rsa-root 3072
make_key rsa-intermediate 2048
make_key rsa-leaf 2048
issue rsa-root rsa-root "$org/CN=Example Org RSA Root" "$root_extensions"
issue rsa-intermediate rsa-root "$org/CN=Example Org RSA Issuing CA" "$intermediate_extensions"
issue rsa-leaf rsa-intermediate "$org/CN=www.example.org" "$(leaf_for www.example.org)"
show rsa-root >rsa-root.pem
{ show rsa-leaf; show rsa-intermediate; } >rsa-chain.pem
openssl pkcs12 -export -in "$work/rsa-leaf.pem" -inkey "$work/rsa-leaf.key" \
    -certfile "$work/rsa-intermediate.pem" -name 'www.example.org' -passout file:password.txt \
    -out rsa-leaf.p12
# openssl makes it for the owner alone, but it is no secret and goes where the other files go.
chmod 644 rsa-leaf.p12

make_key ec-root P-384
issue ec-root ec-root "$org/CN=Example Org EC Root" "$root_extensions"
issue ec-intermediate ec-root "$org/CN=Example Org EC Issuing CA" "$intermediate_extensions"
issue ec-leaf ec-intermediate "$org/CN=shop.example.org" "$(leaf_for shop.example.org)"
show ec-root >ec-root.pem
{ show ec-leaf; show ec-intermediate; } >ec-chain.pem

issue ec-below-rsa rsa-root "$org/CN=mail.example.org" "$(leaf_for mail.example.org)"
show ec-below-rsa >ec-below-rsa.pem
