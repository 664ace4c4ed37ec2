#!/usr/bin/env bash
# Takes the library in as sources of another project, on a machine without GoogleTest: the host keeps its build type
# and flags, and installs nothing of ours. Alone, the library says what it leaves out.
#
#     subproject.sh CXX GENERATOR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
lacking="-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_CXX_COMPILER=$1"

cmake -G "$2" -S "$here/subproject" -B "$work/host" $lacking -DORV_SOURCE="$here/../.." \
    -DCMAKE_BUILD_TYPE=Debug --no-warn-unused-cli >"$work/log"
if grep 'Not built' "$work/log"; then exit 1; fi
cmake --build "$work/host" -j "$(nproc)" >"$work/log" || { tail -30 "$work/log"; exit 1; }
bash "$here/../examples/check.sh" "$work/host/host" "$work/host/host"
cmake --install "$work/host" --prefix "$work/prefix" >/dev/null
[ "$(cd "$work/prefix" && find . -type f)" = ./bin/host ]

cmake -G "$2" -S "$here/../.." -B "$work/alone" $lacking >"$work/log"
tail -5 "$work/log" | grep -q 'Not built, the tests: no GoogleTest'
