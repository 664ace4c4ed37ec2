#!/usr/bin/env bash
# Measures anew and writes the tables of docs/performance.md: those between the lines <!-- NAME --> and <!-- end -->.
# Takes a quarter of an hour; the machine should be idle.
#
#     performance.sh BUILD [NAME...]   NAME: engines, sizes, overhead, stages
set -euo pipefail
build=$1
shift
here=$(cd "$(dirname "$0")" && pwd)
page=$here/../docs/performance.md
table=$build/bench/orv_bench_table
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

measure() {
    case $1 in
    engines) "$table" --sizes 5 --threads 1,2 --repetitions 60 | sed '/^$/,$d' ;;
    sizes) "$table" --sizes 2,5,12,48 --threads 1 --repetitions 30 --seconds 3 | sed '/^$/,$d' ;;
    overhead) "$table" --overhead --repetitions 60 | sed '/^$/d' ;;
    stages) "$here/stages.sh" "$build" ;;
    *) echo "performance.sh: no table '$1'" >&2; return 1 ;;
    esac
}

[ $# -gt 0 ] || set -- engines sizes overhead stages
for name in "$@"; do
    measure "$name" >"$work/table"
    awk -v name="$name" -v table="$work/table" '
        $0 == "<!-- " name " -->" { print; while ((getline line < table) > 0) { print line }; skipping = 1; found = 1; next }
        $0 == "<!-- end -->" { skipping = 0 }
        !skipping
        END { exit !found }' "$page" >"$work/page" || { echo "performance.sh: no place for '$name' in $page" >&2; exit 1; }
    cp "$work/page" "$page"
done
