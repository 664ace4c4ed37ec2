#!/usr/bin/env bash
# Instructions per pixel of every engine, counted under valgrind's callgrind: the same number on a busy machine as on an
# idle one. One thread, one frame of 512 by 384 after a first one.
#
#     instructions.sh BUILD            compares with instructions.txt; fails where an engine needs more than 1.25 times
#     instructions.sh BUILD --record   writes instructions.txt anew
#
# The numbers are those of g++ 12 and of AVX2; without AVX2 nothing is compared.
set -euo pipefail
frames=$1/bench/orv_frames
recorded=$(dirname "$0")/instructions.txt
width=512
height=384
if ! grep -qw avx2 /proc/cpuinfo; then
    echo "instructions: this processor has no AVX2, nothing compared"
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

count() { # count NAME BITS: instructions per pixel
    OMP_NUM_THREADS=1 valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
        --toggle-collect=CountedFrames "$frames" "$1" "$2" "${width}x$height" 1 2>"$work/log" >/dev/null ||
        { cat "$work/log" >&2; return 1; }
    awk -v pixels=$((width * height)) '
        /Collected *:/ { n = $NF / pixels; printf n < 10 ? "%.2f\n" : "%.1f\n", n }' "$work/log"
}

"$frames" --list >"$work/list"
while IFS='|' read -r name bits; do
    echo "$name|$bits|$(count "$name" "$bits")"
done <"$work/list" >"$work/counted"

if [ "${2:-}" = --record ]; then
    cp "$work/counted" "$recorded"
    cat "$recorded"
    exit 0
fi
awk -F'|' '
    NR == FNR { before[$1 "|" $2] = $3; next }
    {
        key = $1 "|" $2
        if (!(key in before)) { printf "%-36s %2d bits %8s  not recorded\n", $1, $2, $3; bad = 1; next }
        ratio = $3 / before[key]
        printf "%-36s %2d bits %8s  %.2f of the record%s\n", $1, $2, $3, ratio, (ratio > 1.25 ? "  TOO MANY" : "")
        bad = bad || (ratio > 1.25)
        delete before[key]
    }
    END {
        for (key in before) { print key ": recorded, but no longer counted"; bad = 1 }
        exit bad
    }' "$recorded" "$work/counted"
