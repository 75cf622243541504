#!/usr/bin/env bash
# The symbols each shared library exports of its own, against the lists kept beside this script:
# what is exported is the public API, and a change to it shows here first.
# Usage: test_exported_symbols.sh LIBTAVMMSUTILITY LIBTAVMMSPLATFORM PLUGIN
# With TAVMMS_UPDATE_SYMBOLS=1 the lists are written instead of compared.
set -euo pipefail
here="$(dirname "$0")"
own='^((vtable|typeinfo|typeinfo name) for )?(MMS_|mime_type_|tavmms|tavplatform|DB_|SETUP_|AM_|MP_|ADDRBK_|RES_|UI_)'

status=0
for pair in "library:$1" "platform:$2" "plugin:$3"; do
    name="${pair%%:*}"
    file="${pair#*:}"
    expected="$here/exported_symbols_$name.txt"
    actual="$(nm -DC --defined-only "$file" | cut -d' ' -f3- | grep -E "$own" | LC_ALL=C sort -u)"
    if [ "${TAVMMS_UPDATE_SYMBOLS:-}" = 1 ]; then
        printf '%s\n' "$actual" > "$expected"
    elif ! diff -u "$expected" <(printf '%s\n' "$actual"); then
        echo "the $name library exports other symbols than $expected lists" >&2
        status=1
    fi
done
exit $status
