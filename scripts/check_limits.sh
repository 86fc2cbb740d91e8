#!/usr/bin/env bash
# Checks docs/limits.md: that it names every constant kMax... and kMin... together with its file,
# and every member of Pkcs12Limits, and that the tests it names exist. Prints what is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

table=docs/limits.md
text=$(tr '\n' ' ' <"$table")
missing=0
object() { printf '%s: %s\n' "$table" "$1"; missing=1; }

# Of two constants with one name each stands before its own file, with no other file between.
while IFS=: read -r file name; do
    [[ $text =~ \`$name\`[^/]*\`$file\` ]] || object "$name of $file is missing"
done < <(grep -roE 'constexpr [a-zA-Z0-9_: ]* kM(ax|in)[A-Za-z0-9]*\b' support certstore \
    | sed -E 's/:.* (k[A-Za-z0-9]*)$/:\1/')

while read -r name; do
    [[ $text == *"\`Pkcs12Limits::$name\`"* ]] || object "Pkcs12Limits::$name is missing"
done < <(sed -nE 's/^    [a-z].* ([A-Za-z]+) = .*;/\1/p' support/pkcs12/Pkcs12Limits.h)

# shellcheck disable=SC2016
while IFS=. read -r suite name; do
    grep -rqE "TEST(_F)?\\($suite, $name\\)" tests || object "there is no test $suite.$name"
done < <(grep -oE '`[A-Z][A-Za-z0-9]*\.[A-Z][A-Za-z0-9]*`' "$table" | tr -d '`' | sort -u)

[[ $missing == 0 ]] && echo "$table is complete."
exit "$missing"
