#!/usr/bin/env bash
# Opens PKCS#12 files as other programs write them, made on the spot, with p12dump: all certificates
# must be there, the private keys attached to theirs; a key handed out must be one that openssl
# takes and have its certificate's public half; a wrong password must be refused. Usage:
# pkcs12_interop.sh P12DUMP. What cannot be made for want of a program is skipped, and said so.
set -euo pipefail
p12dump=$(realpath -e -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")"
if ! command -v openssl >/dev/null; then
    echo "skipped: no openssl"
    exit 77
fi
# Some programs take passwords in the character set of the locale.
export LC_ALL=C.UTF-8
# shellcheck source=../../scripts/certificate_functions.sh
source ../../scripts/certificate_functions.sh
cd "$work"

opened=0 failed=0

object() {
    echo "FAILED: $*" >&2
    failed=$((failed + 1))
}

# refuses LABEL FILE REASON: a wrong password must give this one error (a pattern) and nothing else.
refuses() {
    local status=0
    "$p12dump" "$2" wrong.txt >refused.out 2>refused.err || status=$?
    [[ $status -eq 1 && ! -s refused.out && $(<refused.err) == "p12dump: ERROR: "$3 ]] \
        || object "$1: a wrong password gives status $status and: $(<refused.err)"
}

# opens LABEL FILE PASSWORD_FILE OWNER CERTIFICATE...: the file holds the key of the certificate
# OWNER (- for none), that certificate and the others, nothing else. "$refusal" is what a wrong
# password gives; empty where it cannot be told.
opens() {
    local label=$1 file=$2 password=$3 owner=$4 name
    local keys=0 certs=$(($# - 4)) wanted='' take=()
    if [[ $owner != - ]]; then
        keys=1 certs=$((certs + 1)) wanted="$(<"$owner.sha256") key"$'\n' take=(0 out.der)
    fi
    for name in "${@:5}"; do wanted+=$(<"$name.sha256")$'\n'; done
    wanted+="certs $certs"$'\n'"keys $keys"
    opened=$((opened + 1))
    rm -f out.der
    if ! "$p12dump" "$file" "$password" "${take[@]}" >found 2>error; then
        object "$label: does not open: $(<error)"
        return
    fi
    [[ $(sort found) == "$(sort <<<"$wanted")" ]] || object "$label: holds $(tr '\n' ' ' <found)"
    if [[ $owner != - ]]; then
        openssl pkey -inform DER -in out.der -pubout -out out.pub 2>error \
            || object "$label: openssl does not take the key: $(<error)"
        cmp -s out.pub "$owner.pub" || object "$label: not the key of the certificate"
    fi
    [[ -z $refusal ]] || refuses "$label" "$file" "$refusal"
}

# produce LABEL COMMAND...: runs what makes a file. What the program itself cannot do is said.
produce() {
    "${@:2}" >log 2>&1 && return
    object "$1: cannot be made: $(tail -n 1 log)"
    return 1
}

with_mac='MAC does not match: wrong password or damaged.'
refusal=$with_mac

printf 'a plain password' >ascii.txt
printf 'Grüße, 密码 \U1F511' >unicode.txt
printf '' >empty.txt
printf 'not the password' >wrong.txt

make_key rsa 2048
make_key ed25519 ED25519
issue root root "/CN=Root" "$ca_extensions"
for name in rsa ec ed25519; do
    issue "$name" root "/CN=The $name leaf" "$leaf_extensions"
done
for name in root rsa ec ed25519; do
    openssl x509 -in "$name.pem" -outform DER | openssl dgst -sha256 -r | cut -c1-64 \
        | tr a-f A-F >"$name.sha256"
    openssl x509 -in "$name.pem" -noout -pubkey >"$name.pub"
done

# openssl_file LABEL OWNER PASSWORD_FILE ARGUMENT...
openssl_file() {
    produce "openssl $1" openssl pkcs12 -export -in "$2.pem" -inkey "$2.key" -certfile root.pem \
        -name "the $2 leaf" -passout "file:$3" -out this.p12 "${@:4}" || return 0
    opens "openssl $1" this.p12 "$3" "$2" root
}

try_openssl() {
    local kind pbe mac
    for kind in rsa ec ed25519; do
        openssl_file "default, $kind" "$kind" ascii.txt
        openssl_file "-legacy, $kind" "$kind" ascii.txt -legacy
    done
    openssl_file "default, password not ASCII" rsa unicode.txt
    openssl_file "-legacy, password not ASCII" rsa unicode.txt -legacy
    for pbe in AES-128-CBC AES-192-CBC AES-256-CBC DES-EDE3-CBC PBE-SHA1-3DES PBE-SHA1-2DES; do
        openssl_file "$pbe" ec ascii.txt -certpbe "$pbe" -keypbe "$pbe"
    done
    for pbe in PBE-SHA1-RC2-128 PBE-SHA1-RC4-128 PBE-SHA1-RC4-40 PBE-MD5-DES PBE-SHA1-DES \
        RC2-CBC; do
        openssl_file "$pbe" ec ascii.txt -legacy -certpbe "$pbe" -keypbe "$pbe"
    done
    for mac in sha1 sha224 sha256 sha384 sha512 sha512-256 sha3-256 sha3-512; do
        openssl_file "-macalg $mac" ec ascii.txt -macalg "$mac"
    done
    openssl_file "-iter 1 -nomaciter" ec ascii.txt -iter 1 -nomaciter
    openssl_file "-certpbe NONE" rsa ascii.txt -certpbe NONE
    openssl_file "-keypbe NONE" rsa ascii.txt -keypbe NONE
    openssl_file "-certpbe NONE -keypbe NONE" rsa ascii.txt -certpbe NONE -keypbe NONE
    # Without a MAC it is the decrypted bytes that make no sense, each time in another place.
    refusal='*'
    openssl_file "-nomac" rsa ascii.txt -nomac
    openssl_file "-nomac -legacy" rsa ascii.txt -nomac -legacy
    refusal=
    openssl_file "-nomac, nothing encrypted" rsa ascii.txt -nomac -certpbe NONE -keypbe NONE
    refusal=$with_mac
    for kind in "" -legacy; do
        # shellcheck disable=SC2086
        produce "openssl empty password" openssl pkcs12 -export $kind -in ec.pem -inkey ec.key \
            -passout pass: -out this.p12 || continue
        opens "openssl $kind empty password" this.p12 empty.txt ec
        opens "openssl $kind empty password, opened with none" this.p12 - ec
    done
    produce "openssl -nokeys" openssl pkcs12 -export -nokeys -in root.pem -certfile ec.pem \
        -passout file:ascii.txt -out this.p12 || return 0
    opens "openssl -nokeys" this.p12 ascii.txt - root ec
}

# gnutls_file LABEL OWNER PASSWORD_FILE ARGUMENT...
gnutls_file() {
    produce "certtool $1" certtool --to-p12 --load-certificate "$2.pem" --load-privkey "$2.key" \
        --load-ca-certificate root.pem --p12-name "the $2 leaf" --outder --outfile this.p12 \
        "${@:4}" || return 0
    opens "certtool $1" this.p12 "$3" "$2" root
}

try_certtool() {
    local cipher kind
    for kind in rsa ec ed25519; do
        gnutls_file "default, $kind" "$kind" ascii.txt --password "$(<ascii.txt)"
    done
    for cipher in 3des 3des-pkcs12 aes-128 aes-192 aes-256 rc2-40 arcfour; do
        gnutls_file "$cipher" ec ascii.txt --pkcs-cipher "$cipher" --password "$(<ascii.txt)"
    done
    for cipher in 3des-pkcs12 aes-128; do
        gnutls_file "$cipher, password not ASCII" ec unicode.txt --pkcs-cipher "$cipher" \
            --password "$(<unicode.txt)"
    done
    gnutls_file "--hash sha512" rsa ascii.txt --hash SHA512 --password "$(<ascii.txt)"
    gnutls_file "empty password" rsa empty.txt --empty-password
    gnutls_file "null password" rsa - --null-password
}

# nss_file LABEL OWNER PASSWORD_FILE ARGUMENT...
nss_file() {
    produce "pk12util $1" pk12util -o this.p12 -n "the $2 leaf" -d sql:nss -k empty.txt -w "$3" \
        "${@:4}" || return 0
    opens "pk12util $1" this.p12 "$3" "$2" root
}

try_pk12util() {
    local kind cipher
    mkdir nss
    produce "database" certutil -N -d sql:nss --empty-password || return 0
    for kind in rsa ec; do
        openssl pkcs12 -export -in "$kind.pem" -inkey "$kind.key" -certfile root.pem \
            -name "the $kind leaf" -passout file:ascii.txt -out import.p12
        produce "import" pk12util -i import.p12 -d sql:nss -k empty.txt -w ascii.txt || return 0
        nss_file "default, $kind" "$kind" ascii.txt
    done
    for cipher in AES-128-CBC AES-192-CBC AES-256-CBC \
        "PKCS #12 V2 PBE With SHA-1 And 3KEY Triple DES-CBC" \
        "PKCS #12 V2 PBE With SHA-1 And 128 Bit RC2 CBC" \
        "PKCS #12 V2 PBE With SHA-1 And 40 Bit RC2 CBC" \
        "PKCS #12 V2 PBE With SHA-1 And 128 Bit RC4"; do
        nss_file "$cipher" ec ascii.txt -c "$cipher" -C "$cipher"
    done
    nss_file "certificates not encrypted" ec ascii.txt -C none
    nss_file "password not ASCII" ec unicode.txt
    nss_file "old, password not ASCII" ec unicode.txt \
        -c "PKCS #12 V2 PBE With SHA-1 And 3KEY Triple DES-CBC" \
        -C "PKCS #12 V2 PBE With SHA-1 And 40 Bit RC2 CBC"
}

# java_file LABEL OWNER ARGUMENT...
java_file() {
    rm -f this.p12
    openssl pkcs12 -export -in "$2.pem" -inkey "$2.key" -certfile root.pem \
        -name "the $2 leaf" -passout file:ascii.txt -out import.p12
    produce "keytool $1" keytool -importkeystore -noprompt -srcstoretype PKCS12 \
        -srckeystore import.p12 -srcstorepass:file ascii.txt \
        -deststoretype PKCS12 -destkeystore this.p12 \
        -deststorepass:file ascii.txt "${@:3}" || return 0
    opens "keytool $1" this.p12 ascii.txt "$2" root
}

try_keytool() {
    java_file "default, rsa" rsa
    java_file "default, ec" ec
    java_file "default, ed25519" ed25519
    java_file "legacy" rsa -J-Dkeystore.pkcs12.legacy
    rm -f this.p12
    produce "keytool -importcert" keytool -importcert -noprompt -alias root -file root.pem \
        -storetype PKCS12 -keystore this.p12 -storepass:file ascii.txt || return 0
    opens "keytool -importcert" this.p12 ascii.txt - root
}

try_openssl
for tool in certtool pk12util keytool; do
    if command -v "$tool" >/dev/null; then
        "try_$tool"
    else
        echo "skipped: no $tool"
    fi
done

echo "$opened openings, $failed failures"
[[ $failed -eq 0 ]]
