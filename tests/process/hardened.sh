#!/usr/bin/env bash
# hardened.sh LIBRARY...: each is linked read-only and bound at start, and has the checks of the compiler's in it.
set -euo pipefail
for library in "$@"; do
    fail() { echo "$library: $1"; exit 1; }
    dynamic=$(readelf -dW "$library")
    symbols=$(readelf --dyn-syms -W "$library")
    readelf -lW "$library" | grep -q GNU_RELRO || fail "no RELRO"
    grep -q 'FLAGS_1.*NOW' <<<"$dynamic" || fail "symbols are bound late"
    grep -q '__stack_chk_fail' <<<"$symbols" || fail "no stack protector"
done
