#!/usr/bin/env bash
# Makes the first inputs of the fuzz targets, from the certificates and keys of tests/data, into a
# folder for each target below the one that is given.
set -euo pipefail
out=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/../tests/data"
mkdir -p "$out"/{certificate,dn,pem_bundle,pkcs12,private_key,store,tmp}

# blocks FOLDER FILE...: every PEM block in DER, its label in the name.
blocks() {
    local folder=$1 file label body number
    shift
    for file in "$@"; do
        number=0
        while read -r label; do
            read -r body
            number=$((number + 1))
            # Some are broken on purpose.
            base64 -di <<<"$body" >"$folder/${file%.*}-$number.${label// /_}" 2>/dev/null || true
        done < <(awk '/^-----BEGIN / { gsub(/^-----BEGIN |-----\r?$/, ""); label = $0; body = ""; next }
                      /^-----END / { if (label != "") print label "\n" body; label = ""; next }
                      { gsub(/\r/, ""); if ($0 !~ /:/) body = body $0 }' "$file")
    done
}

# value FILE OFFSET: what an OCTET STRING at this offset holds, or a whole SEQUENCE.
value() {
    openssl asn1parse -inform DER -in "$1" -strparse "$2" -noout -out "$out/tmp/value"
    cat "$out/tmp/value"
}

# content FILE OFFSET: the inside of a SEQUENCE.
content() {
    local header
    value "$1" "$2" >/dev/null
    header=$(openssl asn1parse -inform DER -in "$out/tmp/value" \
        | sed -nE '1s/.*hl= *([0-9]+) .*/\1/p')
    tail -c "+$((header + 1))" "$out/tmp/value"
}

# offsets FILE PATTERN: where the values stand whose lines match.
offsets() {
    openssl asn1parse -inform DER -in "$1" | grep -E "$2" | cut -d: -f1
}

blocks "$out/certificate" ./*.pem
find "$out/certificate" ! -name '*.*CERTIFICATE' -type f -exec mv -t "$out/tmp" {} +

# Issuer and subject are the second and the fourth SEQUENCE of the signed part.
for certificate in "$out"/certificate/{names,string,no-cn,email,empty-subject}*; do
    name=$(basename "$certificate")
    mapfile -t places < <(offsets "$certificate" 'd=2 .*SEQUENCE' 2>/dev/null)
    [[ ${#places[@]} -gt 3 ]] || continue
    { printf '\200' && content "$certificate" "${places[3]}" && content "$certificate" "${places[1]}"
    } >"$out/dn/$name"
    { printf '\377' && openssl x509 -inform DER -in "$certificate" -noout -subject -nameopt RFC2253 \
        | sed 's/^subject=//'; } >"$out/dn/$name.text" 2>/dev/null || true
done

for file in bundle-mixed.pem bundle-crlf.pem chain-rsa.pem ed25519.pem *.key; do
    cp "$file" "$out/pem_bundle/"
done
for name in leaf rsa-leaf; do
    cat "$name.pem" "$name.key" >"$out/pem_bundle/$name-pair"
done

blocks "$out/tmp" ./*.key key-pairs.pem
for scheme in '-v2 aes-128-cbc' '-v2 des3' '-v2 rc2' '-v2 aes-256-cbc -v2prf hmacWithSHA512' \
    '-v1 PBE-MD5-DES' '-v1 PBE-SHA1-RC2-40' '-v1 PBE-SHA1-RC4-128' '-v1 PBE-SHA1-3DES' \
    '-scrypt -scrypt_N 16 -scrypt_r 1 -scrypt_p 1'; do
    # shellcheck disable=SC2086
    openssl pkcs8 -topk8 -provider default -provider legacy $scheme -iter 1 -in leaf.key \
        -passout pass:password -outform DER -out "$out/tmp/${scheme//[ -]/_}.ENCRYPTED_PRIVATE_KEY" \
        2>/dev/null || true
done
labels=(PRIVATE_KEY ENCRYPTED_PRIVATE_KEY RSA_PRIVATE_KEY EC_PRIVATE_KEY)
for i in "${!labels[@]}"; do
    for key in "$out"/tmp/*."${labels[i]}"; do
        [[ -s $key ]] || continue
        # shellcheck disable=SC2059
        { printf "\\$i" && cat "$key"; } >"$out/private_key/$(basename "$key")"
    done
done
{ printf '\4' && sed '/^-----/d' key-rsa-traditional-encrypted.key; } >"$out/private_key/headers"

cp ./*.p12 "$out/pkcs12/"
safes=$(offsets pfx-plain.p12 'OCTET STRING' | head -1)
value pfx-plain.p12 "$safes" >"$out/tmp/safes"
{ printf '\1' && cat "$out/tmp/safes"; } >"$out/pkcs12/safes"
for place in $(offsets "$out/tmp/safes" 'd=3 .*OCTET STRING'); do
    { printf '\2' && value "$out/tmp/safes" "$place"; } >"$out/pkcs12/bags-$place"
done
for key in "$out"/private_key/key-pairs*.PRIVATE_KEY; do
    { printf '\3' && tail -c +2 "$key"; } >"$out/pkcs12/$(basename "$key")"
done

# Operations of five bytes: additions of a chain to one store, a merge, all questions to the other;
# then changes and displacements.
printf '\0\000...\0\001...\0\002...\203\000...\205\002...\206\002...\326\002...' \
    >"$out/store/chain"
printf '\0\003...\0\004...\0\005...\1\005\0\050A\0\007...\0\010...\4....\5....\5\1...\6\1...' \
    >"$out/store/changes"

rm -r "$out/tmp"
