#!/usr/bin/env bash
# Builds and runs applications against an installed tree: headers alone, the minimal examples through CMake and a C
# program through pkg-config.
#
#     stranger.sh PREFIX CXX GENERATOR
set -euo pipefail
prefix=$1
cxx=$2
generator=$3
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
lib=$(dirname "$(find "$prefix" -name 'libOrvDemosaicing.so')")
strict="-Wall -Wextra -Wpedantic -Werror"

# Public headers stand alone, in C99 and from C++11 on; the container of parameters is C++ only.
for header in "$prefix"/include/orv/*.h; do
    for std in 11 20; do
        echo "#include \"$header\"" | "$cxx" -std=c++$std $strict -fsyntax-only -x c++ -
    done
    [ "$(basename "$header")" = OrvParamStorage.h ] ||
        printf '#include "%s"\nextern int present;\n' "$header" | "$cxx" -x c -std=c99 $strict -fsyntax-only -
done

cmake -G "$generator" -S "$here/stranger" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$work/cmake" >/dev/null
bash "$here/../examples/check.sh" "$work/cmake/component" "$work/cmake/functions"

# A program in C, linked without the C++ driver's own libraries.
export PKG_CONFIG_PATH=$lib/pkgconfig LD_LIBRARY_PATH=$lib
# shellcheck disable=SC2046,SC2086
"$cxx" -x c -std=c99 $strict "$here/stranger/main.c" -o "$work/stranger-c" -nodefaultlibs -lc \
    $(pkg-config --cflags --libs OrvDemosaicing OrvHelpers)
"$work/stranger-c"
