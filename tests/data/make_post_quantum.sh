#!/usr/bin/env bash
# Writes ml-dsa.pem and slh-dsa.pem, self-signed certificates, and post-quantum.pem, chains in which
# such keys and P-256 keys meet. The openssl command line makes each certificate with P-256 keys in
# their place, then edit_certificate.py puts in what it does not know. Takes about a minute.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=../../scripts/certificate_functions.sh
source ../../scripts/certificate_functions.sh

# make_post_quantum_key NAME SET: NAME.pq; its algorithm and public key, DER in hexadecimal, NAME.info.
make_post_quantum_key() { python3 post_quantum.py "$2" "$work/$1.pq" >"$work/$1.info"; }

# convert NAME ISSUER: of both keys, uses those that have been made so. What openssl needs of ISSUER
# must have been issued before.
convert() {
    local algorithm key edits=() signer=$work/$2.key
    if [[ -e $work/$1.pq ]]; then
        read -r _ key <"$work/$1.info"
        edits+=("key=$key")
    fi
    if [[ -e $work/$2.pq ]]; then
        read -r algorithm _ <"$work/$2.info"
        edits+=("algorithm=$algorithm" "outer=$algorithm")
        signer=$work/$2.pq
    fi
    python3 edit_certificate.py "$work/$1.pem" "$signer" "${edits[@]}"
}

# self_signed SET...: the common name is that of the set.
self_signed() {
    local name
    for name in "$@"; do
        make_post_quantum_key "$name" "$name"
        issue "$name" "$name" "/CN=$name" "$ca_extensions"
        convert "$name" "$name"
        show "$name"
    done
}

# make_chains SET...: for each a root with a P-256 leaf, and a leaf below a P-256 root.
make_chains() {
    local name org="/C=XX/O=Example Org" ca=$ca_extensions$'\n'$with_key_ids
    local end=$leaf_extensions$'\n'$with_key_ids
    issue root root "$org/CN=Classical Root" "$ca"
    show root
    for name in "$@"; do
        make_post_quantum_key "root-$name" "$name"
        make_post_quantum_key "leaf-$name" "$name"
        issue "root-$name" "root-$name" "$org/CN=$name Root" "$ca"
        issue "below-$name" "root-$name" "$org/CN=Leaf below $name" "$end"
        issue "leaf-$name" root "$org/CN=$name Leaf" "$end"
        convert "root-$name" "root-$name"
        convert "below-$name" "root-$name"
        convert "leaf-$name" root
        show "root-$name"
        show "below-$name"
        show "leaf-$name"
    done
}

self_signed ML-DSA-{44,65,87} >ml-dsa.pem
self_signed SLH-DSA-{SHA2,SHAKE}-{128,192,256}{s,f} \
    SLH-DSA-SHAKE-128f-with-SHAKE128 SLH-DSA-SHAKE-192s-with-SHAKE256 >slh-dsa.pem
make_chains SLH-DSA-SHA2-128s ML-DSA-44 >post-quantum.pem
