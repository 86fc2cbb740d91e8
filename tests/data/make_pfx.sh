#!/usr/bin/env bash
# Makes the PKCS#12 files from the certificates and keys of this folder. The password is "password"
# unless the README says otherwise. One iteration where the number does not matter: tests read these
# files thousands of times.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

# pfx NAME ARGUMENT...: the leaf, its key and its chain.
pfx() {
    local name=$1
    shift
    openssl pkcs12 -export -in leaf.pem -inkey leaf.key -certfile chain.tmp -name "Alice's key" \
        -passout pass:password "$@" -out "$name"
}

cat intermediate.pem root.pem >chain.tmp
trap 'rm -f chain.tmp' EXIT

pfx pfx-modern.p12
pfx pfx-legacy.p12 -legacy -iter 1
pfx pfx-legacy-2048.p12 -legacy
pfx pfx-quick.p12 -iter 1
pfx pfx-nomac.p12 -iter 1 -nomac
pfx pfx-plain.p12 -nomac -keypbe NONE -certpbe NONE
# Elsewhere openssl puts the leaf in front.
python3 - <<'END'
from pathlib import Path
pfx = Path("pfx-plain.p12").read_bytes()
first = pfx.index(bytes.fromhex("060b2a864886f70d010c0a0103")) - 4  # a CertBag
end = first + int.from_bytes(pfx[first - 2:first], "big")
second = first + 4 + int.from_bytes(pfx[first + 2:first + 4], "big")
Path("pfx-leaf-last.p12").write_bytes(pfx[:first] + pfx[second:end] + pfx[first:second] + pfx[end:])
END
pfx pfx-empty-password.p12 -legacy -iter 1 -passout pass:
pfx pfx-unicode-password.p12 -legacy -iter 1 -passout "pass:pässwörd €𝄞"
pfx pfx-long-password.p12 -iter 1 -nomac -certpbe AES-256-CBC -passout "pass:a password of some length"
openssl pkcs12 -export -in rsa-leaf.pem -inkey rsa-leaf.key -nokeys -passout pass:password -iter 1 \
    -out pfx-nokeys.p12
openssl pkcs12 -export -inkey leaf-other.key -nocerts -passout pass:password -iter 1 \
    -out pfx-nocerts.p12
openssl pkcs8 -topk8 -in leaf.key -scrypt -scrypt_N 1024 -passout pass:password -outform DER \
    -out leaf-scrypt.p8
