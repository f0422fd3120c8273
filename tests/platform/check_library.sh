#!/bin/sh
# Checks what the platform libraries export, and how they are hardened.
#   check_library.sh LIBRARY PLAIN_LIBRARY HEADER_DIRECTORY
set -eu
library=$1 plain=$2 headers=$3
nm=${NM:-nm} readelf=${READELF:-readelf}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# Every function that a header declares: a name, an opening parenthesis, and not within a comment or typedef.
cat "$headers"/*.h | sed 's,/\*.*\*/,,' | grep -v '^ *[/*]' | grep -v typedef \
    | grep -oE '^[a-z][a-z_ *]*[ *]([a-z_0-9]+)\(' | sed -E 's/.*[ *]([a-z_0-9]+)\($/\1/' | sort > "$work/declared"
exports() { "$nm" -D --defined-only "$1" | awk '$2 ~ /[A-Z]/ && $2 != "A" { print $3 }' | sed 's/@.*//' | sort; }
exports "$library" > "$work/exported"
exports "$plain" > "$work/exported-plain"
grep -v '^qv_port_parcel_borrow_string$' "$work/declared" > "$work/declared-plain"
[ "$(wc -l < "$work/declared")" -ge 40 ] || { echo "the headers were not understood"; failed=1; }
diff "$work/declared" "$work/exported" || { echo "$library: declared and exported functions differ"; failed=1; }
diff "$work/declared-plain" "$work/exported-plain" || { echo "$plain: exported functions differ"; failed=1; }

for file in "$library" "$plain"; do
    dynamic=$("$readelf" -dW "$file")
    segments=$("$readelf" -lW "$file")
    for flag in NODELETE NOW; do
        echo "$dynamic" | grep -q "$flag" || { echo "$file: no $flag"; failed=1; }
    done
    echo "$segments" | grep -q GNU_RELRO || { echo "$file: no RELRO"; failed=1; }
    echo "$segments" | grep GNU_STACK | grep -qv 'RWE' || { echo "$file: executable stack"; failed=1; }
    ! echo "$dynamic" | grep -q TEXTREL || { echo "$file: text relocations"; failed=1; }
    ! echo "$dynamic" | grep -qE 'NEEDED.*(gio|gobject)' || { echo "$file: needs GIO"; failed=1; }
done
exit $failed
