#!/usr/bin/env bash
# Writes algorithms.pem, self-signed certificates of all signature algorithms, and chain-rsa.pem.
# The common name tells key and algorithm; tests and benchmarks know the certificates by it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=../../scripts/certificate_functions.sh
source ../../scripts/certificate_functions.sh

# signed KEY DIGEST NAME [SIGN_OPTIONS]: KEY is a kind of key (make_key), made once for all rows.
signed() {
    local key=$work/$1
    [[ -e $key.key ]] || make_key "$1" "$1"
    digest=$2 sign_options=${4:-} issue "$1" "$1" "/CN=${3//\//\\/}" ''
    show "$1"
}

make_algorithms() {
    local curve digest pss='-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32'
    signed 2048 sha256 'RSA-2048 SHA-256'
    signed 4096 sha256 'RSA-4096 SHA-256'
    signed 2048 sha1 'RSA-2048 SHA-1'
    signed 2048 sha512-256 'RSA-2048 SHA-512/256'
    signed 2048 sha3-256 'RSA-2048 SHA3-256'
    signed 2048 sha256 'RSA-PSS-2048 SHA-256' "$pss"
    signed RSA-PSS sha256 'RSA-PSS-2048 SHA-256, key for RSA-PSS alone' "$pss"
    while read -r curve digest; do
        signed "$curve" "sha$digest" "ECDSA ${curve/prime192v1/P-192} SHA-$digest"
    done <<<'prime192v1 256
P-224 256
P-256 256
P-384 384
P-521 512
secp256k1 256
brainpoolP224r1 256
brainpoolP256r1 256
brainpoolP320r1 384
brainpoolP384r1 384
brainpoolP512r1 512'
    signed P-256 sha3-256 'ECDSA P-256 SHA3-256'
    openssl ec -in "$work/P-256.key" -conv_form compressed 2>/dev/null \
        | openssl pkcs8 -topk8 -nocrypt -out "$work/compressed.key"
    signed compressed sha256 'ECDSA P-256 SHA-256, compressed point'
    signed ED25519 null 'Ed25519'
    signed ED448 null 'Ed448'
    signed DSA sha256 'DSA-2048 SHA-256'
    # MD2 as well, if openssl still had it.
    signed 2048 md5 'RSA-2048 MD5'
    signed 2048 md4 'RSA-2048 MD4' '-provider legacy -provider default'
}

# Leaf, intermediate, root, in this order.
make_chain() {
    local name org="/C=XX/O=Example Org" ca=$ca_extensions$'\n'$with_key_ids
    for name in root middle leaf; do make_key $name 2048; done
    issue root root "$org/CN=Chain RSA Root" "$ca"
    issue middle root "$org/CN=Chain RSA Intermediate" "$ca"
    issue leaf middle "$org/CN=Chain RSA Leaf" "$leaf_extensions"$'\n'"$with_key_ids"
    for name in leaf middle root; do show $name; done
}

make_algorithms >algorithms.pem
make_chain >chain-rsa.pem
