#!/usr/bin/env bash
# Checks every include in support/ and certstore/ against the layers, prints the lines that break
# them and fails if there is one. A folder includes itself and what stands on lower lines:
#
#   7  certstore/SystemCerts*       everything below
#   6  certstore/CertRepository*    base buffers sync containers log x509, nothing else
#   6  vault                        pkcs12, x509 and below
#   5  pkcs12   roots               x509 and below
#   4  x509
#   3  log
#   2  asn1  crypto  encoding  containers  settings
#   1  buffers  sync
#   0  base                         the standard library
#
# Processor instructions, and the compiler headers for them, belong in *Instruction* files alone.
# Up to line 2 the folders of one line may include each other, from line 5 up they may not.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

# shellcheck disable=SC2016
includes() {
    find support certstore -type f \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z \
        | xargs -0 -r awk '/^[ \t]*#[ \t]*include/ { print FILENAME "\t" FNR "\t" $0 }'
}

includes | awk -F '\t' '
    BEGIN {
        lines = "base:0 buffers:1 sync:1 asn1:2 crypto:2 encoding:2 containers:2 settings:2 " \
                "log:3 x509:4 pkcs12:5 roots:5 vault:6 CertRepository:6 SystemCerts:7"
        for (n = split(lines, pair, " "); n > 0; --n) {
            split(pair[n], part, ":")
            line[part[1]] = part[2]
        }
        only["CertRepository"] = " CertRepository base buffers sync containers log x509 "
    }

    # The layer a path belongs to: its folder in support/, in certstore/ the start of its file name.
    function layer(path, part) {
        split(path, part, "/")
        if (part[1] == "support" && part[3] != "") return part[2]
        if (path ~ /^certstore\/CertRepository/) return "CertRepository"
        if (path ~ /^certstore\/SystemCerts/) return "SystemCerts"
        return "none"
    }

    function allowed(from, to) {
        if (from == to) return 1
        if (from in only) return index(only[from], " " to " ") > 0
        if (from == "vault" && to == "roots") return 0
        return line[to] < line[from] || (line[to] == line[from] && line[from] <= 2)
    }

    function object(why) {
        print $1 ":" $2 ": " $3 "  <- " why
        failed = 1
    }

    {
        ++seen
        from = layer($1)
        if (!(from in line)) { object("this file belongs to no layer"); next }
        if (match($3, /<[^>]*>/)) {
            header = substr($3, RSTART, RLENGTH)
            if (header ~ /^<(immintrin|cpuid)\.h>$/ && $1 ~ /Instruction[A-Za-z]*\.(cpp|h)$/) next
            if (header !~ /^<[a-z0-9_]+>$/)
                object("not of the C++ standard library")
            next
        }
        if (!match($3, /"[^"]*"/)) { object("cannot tell what is included"); next }
        target = substr($3, RSTART + 1, RLENGTH - 2)
        to = layer(target)
        if (!(to in line)) { object("not a path from the root to a known layer"); next }
        if (!allowed(from, to)) object(from " must not know " to)
    }

    END {
        if (failed) exit 1
        print seen + 0 " includes respect the layers."
    }
'
