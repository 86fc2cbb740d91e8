# shellcheck shell=bash
# Functions for the scripts that make certificates with the openssl command line (3.0 or later).
# To be sourced. Everything is made in "$work", a scratch folder that goes when the script ends:
# NAME.key is the private key (PKCS#8) of NAME, NAME.pem its certificate.

work=$(mktemp -d)
export PYTHONDONTWRITEBYTECODE=1  # the scripts lie beside the data
trap 'rm -rf "$work"' EXIT

# Extensions of an ordinary issuer and of an ordinary end entity, for the scripts that source this.
# The authority key identifier of a self-signed certificate equals its own subject key identifier.
# shellcheck disable=SC2034
{
with_key_ids=$'subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid:always'
# `openssl ca` adds each key identifier that an extension section does not rule out.
without_ski='subjectKeyIdentifier=none'
without_aki='authorityKeyIdentifier=none'
ca_extensions=$'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign'
leaf_extensions=$'basicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature'
}

# make_key NAME [curve|ED25519|ED448|RSA bits|RSA-PSS|DSA]: an RSA-PSS key may sign only with SHA-256
# and a salt of 32 bytes; it and the DSA key have 2,048 bits.
make_key() {
    local name=$1 kind=${2:-P-256}
    case $kind in
        P-* | prime* | secp* | brainpool*)
            openssl genpkey -quiet -algorithm EC -pkeyopt "ec_paramgen_curve:$kind" ;;
        ED*) openssl genpkey -quiet -algorithm "$kind" ;;
        RSA-PSS)
            openssl genpkey -quiet -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:2048 \
                -pkeyopt rsa_pss_keygen_md:sha256 -pkeyopt rsa_pss_keygen_mgf1_md:sha256 \
                -pkeyopt rsa_pss_keygen_saltlen:32 ;;
        DSA)
            openssl genpkey -quiet -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:2048 \
                -pkeyopt dsa_paramgen_q_bits:256 -out "$work/dsa"
            openssl genpkey -quiet -paramfile "$work/dsa" ;;
        *) openssl genpkey -quiet -algorithm RSA -pkeyopt "rsa_keygen_bits:$kind" ;;
    esac >"$work/$name.key"
}

# request SUBJECT KEY: writes a request for SUBJECT ("/CN=..." as `openssl req -subj` takes it).
request() {
    printf '%s\n' '[req]' 'distinguished_name=dn' 'string_mask=utf8only' 'oid_section=oids' \
        '[oids]' 'somethingOfOurOwn=1.2.3.4.5' '[dn]' >"$work/req.conf"
    openssl req -new -config "$work/req.conf" -utf8 -subj "$1" -key "$2" -out "$work/request.csr"
}

# issue NAME ISSUER SUBJECT EXTENSIONS: certificate of SUBJECT for the key of NAME, signed by
# ISSUER; self-signed when both names are the same. EXTENSIONS are lines of an extension section;
# none give version 1. A missing key is made (P-256). Variables put in front change the rest:
# digest, serial (hexadecimal; random without), not_before and not_after (YYYYMMDDHHMMSSZ),
# sign_options (further options of `openssl ca`, between blanks).
issue() {
    local name=$1 issuer=$2 subject=$3 extensions=$4 signer
    [[ -e $work/$name.key ]] || make_key "$name"
    request "$subject" "$work/$name.key"
    # `openssl ca` is the one command of 3.0 that takes both dates. Its database starts empty each
    # time, so that it does not object to a serial number or a name used before.
    rm -rf "$work/ca" && mkdir "$work/ca" && : >"$work/ca/index"
    echo "${serial:-$(printf '4%s' "$(openssl rand -hex 8)" | cut -c1-16)}" >"$work/ca/serial"
    {
        printf '%s\n' '[ca]' 'default_ca=this' '[this]' "database=$work/ca/index" \
            "serial=$work/ca/serial" "new_certs_dir=$work/ca" 'policy=any' \
            'unique_subject=no' 'email_in_dn=yes' "default_md=${digest:-sha256}"
        [[ -z $extensions ]] || echo 'x509_extensions=extensions'
        printf '%s\n' '[any]' '[extensions]' "$extensions"
    } >"$work/ca/conf"
    signer=(-cert "$work/$issuer.pem")
    [[ $name != "$issuer" ]] || signer=(-selfsign)
    # shellcheck disable=SC2086
    if ! openssl ca -config "$work/ca/conf" -batch -preserveDN -notext "${signer[@]}" \
        ${sign_options:-} -keyfile "$work/$issuer.key" -startdate "${not_before:-20200101000000Z}" \
        -enddate "${not_after:-20991231235959Z}" -in "$work/request.csr" \
        -out "$work/$name.pem" 2>"$work/ca/log"; then
        cat "$work/ca/log" >&2
        return 1
    fi
}

# show NAME [SENTENCE]: writes the certificate's content in clear and then its block.
show() {
    [[ -z ${2:-} ]] || printf '%s\n' "$2"
    openssl x509 -in "$work/$1.pem" -text -certopt no_sigdump,no_pubkey \
        -nameopt oneline,utf8,-esc_msb
    echo
}
