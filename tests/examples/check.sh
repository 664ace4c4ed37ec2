#!/usr/bin/env bash
# The minimal examples make the same picture of a frame, and none of a file that is no frame of the size given.
#
#     check.sh COMPONENT FUNCTIONS
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
head -c $((2 * 65 * 48)) <(seq 10000) >frame.raw  # no pipe: its writer would fail when the reader ends
"$1" frame.raw 65 48 component.ppm
"$2" frame.raw 65 48 functions.ppm
cmp component.ppm functions.ppm
[ "$(wc -c <component.ppm)" -eq $((14 + 6 * 65 * 48)) ]
for example in "$@"; do
    if "$example" frame.raw 65 47 refused.ppm 2>/dev/null || [ -e refused.ppm ]; then
        echo "$example takes a file of another size"
        exit 1
    fi
done
