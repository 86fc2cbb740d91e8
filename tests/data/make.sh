#!/usr/bin/env bash
# Makes every certificate in this folder anew, with new keys. README.md says what each is for.
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=../../scripts/certificate_functions.sh
source ../../scripts/certificate_functions.sh

org="/C=XX/O=Example Org"
ca=$ca_extensions$'\n'$with_key_ids
end=$leaf_extensions$'\n'$with_key_ids
end_without_aki=$leaf_extensions$'\n'subjectKeyIdentifier=hash$'\n'$without_aki
no_key_ids=$without_ski$'\n'$without_aki

# edit NAME KEY|- [PART=HEX]...: see edit_certificate.py.
edit() { python3 edit_certificate.py "$work/$1.pem" "${2/#[!-]*/$work/$2.key}" "${@:3}"; }

keep() { cp "$work/$1.key" "$1.key"; }

hex() { od -An -v -tx1 | tr -d ' \n'; }

# name ATTRIBUTE:TYPE:TEXT...: a distinguished name, DER in hexadecimal. An attribute with a "+" in
# front joins the one before it. `printf %b` undoes the escapes of TEXT, then TEXT is put into the
# encoding of TYPE; TYPE "raw12" writes the bytes as they are into a string with tag 12.
name() {
    local attribute type text tag charset format set=0 member=0 sets='' members='' retag=''
    for attribute in "$@"; do
        if [[ $attribute != +* ]]; then
            set=$((set + 1))
            sets+="$set=SET:set$set"$'\n'
            members+="[set$set]"$'\n'
        fi
        IFS=: read -r -d '' attribute type text <<<"${attribute#+}" || true
        case $type in
            utf8) tag=12 charset=UTF-8 ;;
            printable) tag=19 charset=ASCII ;;
            t61) tag=20 charset=ISO-8859-1 ;;
            ia5) tag=22 charset=ASCII ;;
            universal) tag=28 charset=UTF-32BE ;;
            bmp) tag=30 charset=UTF-16BE ;;
            raw*) tag=${type#raw} charset='' ;;
        esac
        text=$(printf '%b' "${text%$'\n'}" | encode "$charset" | hex)
        # No digits at all are no number to openssl, but an empty text is a text.
        format=FORMAT:$([[ -z $text ]] && echo ASCII || echo HEX),OCTETSTRING:$text
        if [[ -n $charset ]]; then
            format=IMPLICIT:${tag}U,$format
        else
            # openssl would check the string, so it writes an octet string and the tag comes after.
            text=$(printf '%02x' $((${#text} / 2)))$text
            retag+="s/04$text/$(printf '%02x' "$tag")$text/;"
        fi
        member=$((member + 1))
        members+="$member=SEQUENCE:attribute$member"$'\n'
        printf '[attribute%s]\n1=OID:%s\n2=%s\n' "$member" "$attribute" "$format"
    done >"$work/attributes"
    printf 'asn1=SEQUENCE:name\n[name]\n%s%s' "$sets" "$members" | cat - "$work/attributes" \
        >"$work/name.conf"
    openssl asn1parse -genconf "$work/name.conf" -noout -out "$work/name.der"
    hex <"$work/name.der" | sed "$retag"
}

encode() { if [[ -n $1 ]]; then iconv -f UTF-8 -t "$1"; else cat; fi; }

# named FILE SENTENCE ATTRIBUTE...: adds a self-signed certificate with that name to FILE.
named_count=0
named() {
    local dn certificate
    named_count=$((named_count + 1))
    certificate=named-$named_count
    issue $certificate $certificate "/CN=x" "$ca"
    dn=$(name "${@:3}")
    edit $certificate $certificate "issuer=$dn" "subject=$dn"
    if openssl x509 -in "$work/$certificate.pem" -noout 2>/dev/null; then
        show $certificate "$2"
    else
        printf '%s\nOpenSSL does not read it. Issuer and subject in DER:\n%s\n' "$2" "$dn"
        cat "$work/$certificate.pem"
        echo
    fi >>"$1"
}

make_ordinary() {
    local name
    issue root root "$org/CN=Example Root" "$ca"
    issue intermediate root "$org/CN=Example Intermediate" "$ca"
    issue leaf intermediate "$org/CN=Alice Example" "$end
subjectAltName=email:Alice.Example@Example.ORG,email:alice.second@example.org,DNS:www.example.org"
    make_key leaf-other
    for name in root intermediate leaf; do show $name >$name.pem; done
    keep leaf
    keep leaf-other
}

make_algorithms() {
    local digest
    make_key rsa-root 2048
    issue rsa-root rsa-root "$org/CN=Example RSA Root" "$ca"
    show rsa-root >rsa-root.pem
    make_key p384-root P-384
    digest=sha384 issue p384-root p384-root "$org/CN=Example P-384 Root" "$ca"
    show p384-root >p384-root.pem

    make_key rsa-leaf 2048
    issue rsa-leaf rsa-root "$org/CN=RSA leaf" "$end"
    show rsa-leaf >rsa-leaf.pem
    keep rsa-leaf
    for digest in sha1 sha224 sha384 sha512; do
        make_key "rsa-leaf-$digest" 2048
        issue "rsa-leaf-$digest" rsa-root "$org/CN=RSA leaf $digest" "$end"
        show "rsa-leaf-$digest" >"rsa-leaf-$digest.pem"
    done
    for digest in sha1 sha224 sha256 sha384 sha512; do
        issue "p384-leaf-$digest" p384-root "$org/CN=P-384 leaf $digest" "$end"
        show "p384-leaf-$digest" >"p384-leaf-$digest.pem"
    done

    digest=sha256
    issue ec-below-rsa rsa-root "$org/CN=EC below RSA" "$end"
    show ec-below-rsa >ec-below-rsa.pem
    make_key rsa-below-ec 2048
    issue rsa-below-ec root "$org/CN=RSA below EC" "$end"
    show rsa-below-ec >rsa-below-ec.pem
    make_key ed25519 ED25519
    digest=null issue ed25519 ed25519 "$org/CN=Example Ed25519 Root" "$ca"
    show ed25519 >ed25519.pem
}

make_pss() {
    make_key pss-defaults 2048
    digest=sha1 sign_options='-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:20' \
        issue pss-defaults pss-defaults "$org/CN=Example PSS Defaults" "$ca"
    show pss-defaults >pss-defaults.pem
    make_key pss-only RSA-PSS
    sign_options='-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32' \
        issue pss-only pss-only "$org/CN=Example PSS Only" "$ca"
    show pss-only >pss-only.pem
}

make_chains() {
    local member issuer=00 pair here next
    for member in $(seq -w 0 33); do
        issue "member-$member" "member-$issuer" "$org/CN=Member $member" "$ca"
        show "member-$member"
        issuer=$member
    done >long-chain.pem

    for here in A B C; do
        issue "loop-$here" "loop-$here" "$org/CN=Loop $here" "$ca"
        cp "$work/loop-$here.key" "$work/ring-$here.key"
    done
    for pair in AB BC CA; do
        here=${pair:0:1} next=${pair:1}
        issue "ring-$here" "loop-$next" "$org/CN=Loop $here" "$ca"
        show "ring-$here"
    done >loop.pem
    for pair in AB BC CA; do
        here=${pair:0:1} next=${pair:1}
        issue "ring-$here" "loop-$next" "$org/CN=Loop $here" "$ca_extensions"$'\n'"$no_key_ids"
        show "ring-$here"
    done >loop-no-ki.pem
}

make_twins() {
    local which
    issue twin-1 twin-1 "$org/CN=Example Twin Root" "$ca"
    issue twin-2 twin-2 "$org/CN=Example Twin Root" "$ca"
    issue twin-leaf twin-2 "$org/CN=Twin leaf" "$end"
    issue twin-leaf-no-aki twin-2 "$org/CN=Twin leaf without AKI" "$end_without_aki"
    {
        show twin-1 "The first of two roots with one name."
        show twin-2 "The second, which issued both leaves."
        show twin-leaf
        show twin-leaf-no-aki
    } >same-dn.pem

    for which in a b; do
        serial=5A17 issue same-serial-$which root "$org/CN=Same Serial" "$end"
        show same-serial-$which >same-serial-$which.pem
        issue same-ski-$which root "$org/CN=Same SKI $which" "$leaf_extensions
subjectKeyIdentifier=00112233445566778899AABBCCDDEEFF00112233
authorityKeyIdentifier=keyid:always"
        show same-ski-$which >same-ski-$which.pem
    done

    make_key renewed
    serial=2EE3 not_after=20501231235959Z issue renewed root "$org/CN=Renewed" "$end"
    show renewed >renewed-a.pem
    serial=2EE3 not_before=20210101000000Z issue renewed root "$org/CN=Renewed" "$end"
    show renewed >renewed-b.pem
    keep renewed
}

make_serials() {
    local kind value
    issue serial-ca serial-ca "$org/CN=Example CA" "$ca"
    show serial-ca >serial-ca.pem
    while read -r kind value; do
        issue "serial-$kind" serial-ca "$org/CN=Serial $kind" "$end"
        edit "serial-$kind" serial-ca "serial=$value"
        show "serial-$kind" >"serial-$kind.pem"
    done <<<'00 020400A1B2C3
plain 02020A1B
zero 020100
negative 0202F00D
long 02190102030405060708090A0B0C0D0E0F10111213141516171819'
}

make_oddities() {
    issue no-ki root "$org/CN=No Key Identifiers" "$leaf_extensions"$'\n'"$no_key_ids"
    show no-ki >no-ki.pem

    issue v1 v1 "$org/CN=Example Version 1 Root" ''
    show v1 >v1.pem

    issue no-cn-root no-cn-root "/C=XX/O=Example Org without Common Name" "$ca"
    issue no-cn-leaf no-cn-root "$org/CN=Leaf below no CN" "$end"
    { show no-cn-root; show no-cn-leaf; } >no-cn.pem

    issue empty-subject root "/CN=x" "$end"$'\n'"subjectAltName=critical,email:nobody@example.org"
    edit empty-subject root subject=3000
    show empty-subject >empty-subject.pem

    issue email-attribute root "$org/CN=Bob/emailAddress=Bob@Example.org" "$end"
    show email-attribute >email-attribute.pem

    issue aki-issuer-serial intermediate "$org/CN=AKI by issuer and serial" "$leaf_extensions
subjectKeyIdentifier=hash
authorityKeyIdentifier=issuer:always"
    show aki-issuer-serial >aki-issuer-serial.pem

    # openssl takes an empty identifier for "none" and drops it, so it is made under another OID.
    issue empty-ski root "$org/CN=Empty SKI" "$leaf_extensions
$without_ski
2.5.29.99=DER:04:00
authorityKeyIdentifier=keyid:always"
    edit empty-ski root 0603551D63=0603551D0E
    show empty-ski >empty-ski.pem

    issue self-other self-other "$org/CN=Self-issued by another key" "$ca"
    issue self-issued-bad-sig self-other "$org/CN=Self-issued by another key" \
        "$ca_extensions
subjectKeyIdentifier=hash
$without_aki"
    show self-issued-bad-sig >self-issued-bad-sig.pem

    issue sigalg-mismatch root "$org/CN=Signature algorithms differ" "$end"
    edit sigalg-mismatch - outer=300A06082A8648CE3D040303
    show sigalg-mismatch "Outside the algorithm is ecdsa-with-SHA384, inside it is the one below." \
        >sigalg-mismatch.pem

    issue tampered root "$org/CN=Tampered A" "$end"
    edit tampered - "$(printf 'Tampered A' | hex)=$(printf 'Tampered B' | hex)"
    show tampered "Signed as 'Tampered A'." >tampered.pem
}

# Names, identifiers, serial numbers and addresses that are all longer than the room that the
# library's texts have within themselves.
make_long() {
    local names member serial=0102030405060708090A0B0C0D0E0F10111213
    names=$(printf '/OU=%060d' 1 2 3 4)$org/CN=Long$(printf ' %054d' 0)
    # key_ids OWN ISSUER: 40 times these two digits.
    key_ids() {
        printf 'subjectKeyIdentifier=%s\n' "$(printf "$1%.0s" {1..40})"
        printf '2.5.29.35=DER:302A8028%s\n' "$(printf "$2%.0s" {1..40})"
    }
    serial=7A$serial issue long-root long-root "$names A" "$ca_extensions"$'\n'"$(key_ids A0 A0)"
    serial=7B$serial issue long-middle long-root "$names B" "$ca_extensions"$'\n'"$(key_ids B0 A0)"
    serial=7C$serial issue long-leaf long-middle "$names C" "$leaf_extensions"$'\n'"$(key_ids C0 B0)
subjectAltName=email:$(printf 'A%060d@%060d.example' 0 0)"
    for member in leaf middle root; do cat "$work/long-$member.pem"; done >long.pem
    cp "$work/long-leaf.key" long.key
}

make_names() {
    local file=names.pem c=C:printable:XX type
    : >$file
    named $file "Blank in front." $c 'CN:utf8: leading'
    named $file "Blank behind." $c 'CN:utf8:trailing '
    named $file "Number sign in front." $c 'CN:utf8:#hash'
    named $file "Comma." $c 'O:utf8:Example, Inc.' 'CN:utf8:comma, inside'
    named $file "Plus." $c 'CN:utf8:one+two'
    named $file "Quotation marks." $c 'CN:utf8:the "quoted" name'
    named $file "Backslash." $c 'CN:utf8:back\\slash'
    named $file "Semicolon." $c 'CN:utf8:semi;colon'
    named $file "Angle brackets." $c 'CN:utf8:<angle>'
    named $file "Equals sign, and a value that looks like attributes." $c 'CN:utf8:x, O=Other'
    named $file "Slash." $c 'CN:utf8:a/CN=b'
    named $file "TAB and newline." $c 'CN:utf8:tab\there\nline'
    named $file "NUL inside the common name." $c 'CN:utf8:www.example.org\x00.example.net'
    named $file "Only a blank." $c 'CN:utf8: '
    named $file "Empty common name." $c 'CN:utf8:'
    named $file "Two attributes in one RDN." $c 'CN:utf8:Multi' '+serialNumber:printable:42'
    named $file "Several common names." $c 'CN:utf8:First' 'CN:utf8:Second' 'CN:utf8:Third'
    named $file "Domain components." DC:ia5:org DC:ia5:example 'CN:utf8:Directory'
    named $file "Unknown attribute." $c 'CN:utf8:Unknown' '1.2.3.4.5:utf8:what?'
    named $file "Letters beyond ASCII." $c 'O:utf8:日本' 'CN:utf8:Zoë'
    named $file "A letter beyond 16 bits." $c 'CN:utf8:\xf0\x9f\x94\x91 key'

    file=string-types.pem
    : >$file
    for type in utf8 printable t61 ia5 bmp universal; do
        named $file "ASCII text, $type." $c "CN:$type:Example Types"
    done
    for type in utf8 t61 bmp universal; do
        named $file "Latin-1 text, $type." $c "CN:$type:Café"
    done
    named $file "Root with a printable name." $c 'CN:printable:Example Retyped'
    issue retyped-leaf named-$named_count "$org/CN=Retyped leaf" "$end_without_aki"
    edit retyped-leaf named-$named_count "issuer=$(name $c 'CN:utf8:Example Retyped')"
    show retyped-leaf "Signed by that root, but names it in utf8 and has no AKI." >>$file

    file=string-malformed.pem
    : >$file
    named $file "utf8 that is not." $c 'CN:raw12:bad\xff\xfetext'
    named $file "utf8, slash in two bytes." $c 'CN:raw12:over\xc0\xaflong'
    named $file "bmp of odd length." $c 'CN:raw30:\x00A\x00'
    named $file "bmp, half of a surrogate pair." $c 'CN:raw30:\x00A\xd8\x00'
    named $file "universal beyond the last letter." $c 'CN:raw28:\x00\x00\x00A\x00\x11\x00\x00'
    named $file "universal, length not a multiple of four." $c 'CN:raw28:\x00\x00\x00A\x00'
    named $file "printable with a letter it must not have." $c 'CN:raw19:a_b@c'
    named $file "Common name that is an INTEGER." $c 'CN:raw2:\x07'
}

block() { sed -n '/^-----BEGIN/,/^-----END/p' "$work/$1.pem"; }

make_bundles() {
    local name
    for name in 1 2 3 4 broken cut; do
        issue "bundle-$name" "bundle-$name" "$org/CN=Bundle $name" "$ca"
    done
    {
        echo 'Text before the first block. -----not a block-----'
        show bundle-1 "An ordinary block."
        printf 'Bytes that are not UTF-8: \xff\xfe\xc0\x80.\n'
        show bundle-2 "With trust settings behind the certificate." | sed '/^-----BEGIN/,$d'
        openssl x509 -in "$work/bundle-2.pem" -trustout -addtrust serverAuth -setalias "Alias"
        echo 'The old label of a certificate:'
        block bundle-3 | sed 's/ CERTIFICATE/ X509 CERTIFICATE/'
        echo 'DER cut in the middle:'
        echo '-----BEGIN CERTIFICATE-----'
        openssl x509 -in "$work/bundle-cut.pem" -outform DER | head -c 150 | openssl base64
        echo '-----END CERTIFICATE-----'
        echo 'Broken base64:'
        block bundle-broken | sed '3s/^...../!*?_-/'
        echo 'A private key:'
        cat "$work/bundle-4.key"
        show bundle-4 "The last block, without a newline at its end."
    } >"$work/mixed"
    # Command substitution drops the newlines at the end. No NUL is in the text.
    printf '%s' "$(cat "$work/mixed")" >bundle-mixed.pem

    { show root; show v1; } | sed 's/$/\r/' >bundle-crlf.pem
}

rm -f ./*.pem ./*.key
make_ordinary
make_algorithms
make_pss
make_chains
make_twins
make_serials
make_oddities
make_long
make_names
make_bundles
./make_keys.sh
./make_algorithms.sh
./make_post_quantum.sh
