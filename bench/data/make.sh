#!/usr/bin/env bash
# Makes member.pem, the certificate that all certificates of the benchmarks are copies of
# (bench/common/Certificates.h): a 2048-bit RSA CA with what such certificates carry today. What is
# written over stands out: serial and key identifiers of equal bytes, names with eight equal digits.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

repeat() { printf "$1%.0s" $(seq "$2"); }

cat >"$work/openssl.cnf" <<END
[ca]
default_ca = authority
[authority]
database = $work/index
serial = $work/serial
new_certs_dir = $work
default_md = sha256
policy = any_name
x509_extensions = member
[any_name]
C = supplied
O = supplied
OU = supplied
CN = supplied
[issuer]
subjectKeyIdentifier = $(repeat B2 20)
[member]
basicConstraints = critical, CA:TRUE
keyUsage = critical, digitalSignature, keyCertSign, cRLSign
subjectKeyIdentifier = $(repeat A1 20)
authorityKeyIdentifier = keyid
subjectAltName = email:member11111111@example.org
authorityInfoAccess = OCSP;URI:http://ocsp.example.org
certificatePolicies = 1.3.6.1.4.1.99999.1
END
touch "$work/index"
repeat 11 16 >"$work/serial"
name="/C=XX/O=Example Organisation/OU=Directory Services/CN=Member"
openssl req -x509 -newkey rsa:2048 -nodes -keyout "$work/issuer.key" -out "$work/issuer.pem" \
    -subj "$name 22222222" -config "$work/openssl.cnf" -extensions issuer -days 36500
openssl req -new -newkey rsa:2048 -nodes -keyout "$work/member.key" -out "$work/member.csr" \
    -subj "$name 11111111" -config "$work/openssl.cnf"
openssl ca -batch -notext -config "$work/openssl.cnf" -cert "$work/issuer.pem" \
    -keyfile "$work/issuer.key" -in "$work/member.csr" -out member.pem \
    -startdate 20200101000000Z -enddate 21200101000000Z
