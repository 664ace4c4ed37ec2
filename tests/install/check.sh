#!/usr/bin/env bash
# Installs the build tree to a fresh prefix, compares the exported symbols with the recorded ones, and has
# applications built against it.
#
#     check.sh BUILD_DIR CXX GENERATOR
set -euo pipefail
build=$1
cxx=$2
generator=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
lib=$(dirname "$(find "$work/prefix" -name 'libOrvDemosaicing.so' | head -n 1)")

for name in Demosaicing Helpers Misc; do
    nm -D --defined-only --with-symbol-versions "$lib/libOrv$name.so.1" | awk '$2 != "A" { print $3 }' | LC_ALL=C sort >"$work/symbols"
    sed -n "/^libOrv$name.so.1/,/^$/s/^    \([^:]*\).*/\1/p" "$here/../../docs/interface.txt" | diff -u - "$work/symbols" ||
        { echo "libOrv$name exports something else than recorded"; exit 1; }
done
if readelf -d "$lib/libOrvHelpers.so" | grep NEEDED | grep -E 'Orv|opencv'; then exit 1; fi
readelf -d "$lib/libOrvDemosaicing.so" | grep -q 'soname: \[libOrvDemosaicing.so.1\]'
if readelf -d "$lib/libOrvDemosaicing.so" | grep -E 'R(UN)?PATH' | grep -v '\$ORIGIN'; then exit 1; fi

# The version stands in a header; the Python package and the changelog follow by hand.
version=$(sed -n 's/^Version: //p' "$lib/pkgconfig/OrvDemosaicing.pc")
{ grep -q "^__version__ = \"$version\"" "$here/../../python/orvdemosaicing/__init__.py" &&
    grep -q "^## $version " "$here/../../CHANGELOG.md"; } || { echo "not version $version everywhere"; exit 1; }

bash "$here/stranger.sh" "$work/prefix" "$cxx" "$generator"
