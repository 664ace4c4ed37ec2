#!/usr/bin/env bash
# Measures anew and writes tables of docs/ and README.md: those between the lines <!-- NAME --> and <!-- end -->. The
# first three take a quarter of an hour, the others, with their pictures, a minute; the machine should be idle.
#
#     performance.sh BUILD [NAME...]   NAME: engines, avx2, sizes, small (these by default), bayer, truesense, costs
set -euo pipefail
table=$1/bench/orv_bench_table
levels=$1/bench/orv_bench_levels
choosing=$1/examples/choosing
shift
root=$(dirname "$0")/..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Rows of orv_bench_table on standard input, one row of the result per engine: first the columns of
# 8 bits, then those above, each by thread count or frame size (field $1 of the input rows). Lines keep their order.
pivot() {
    awk -F' *\\| *' -v by="$1" '
        $3 ~ /^[0-9]+$/ && NF > 8 {
            if (!($2 in seen)) { seen[$2] = 1; names[++rows] = $2 }
            column = ($3 == 8 ? "8" : "12") SUBSEP $by
            if (!($by in known)) { known[$by] = 1; keys[++columns] = $by }
            r[$2, column] = sprintf($8 < 0.1 ? "%.3f" : $8 < 10 ? "%.2f" : "%.1f", $8)
        }
        END {
            for (row = 1; row <= rows; ++row) {
                line = "| " names[row]
                for (bits = 8; bits <= 12; bits += 4) {
                    for (column = 1; column <= columns; ++column) {
                        line = line (by == 5 && column > 1 ? " / " : " | ") r[names[row], bits "", keys[column]]
                    }
                }
                print line " |"
            }
        }'
}

measure() {
    case $1 in
    engines)
        printf '| Engine | 8 bits, 1 / 2 threads | 12 bits, 1 / 2 threads |\n|---|---|---|\n'
        "$table" --sizes 5 --threads 1,2 --repetitions 60 | pivot 5
        ;;
    avx2)
        printf '| Engine | 8 bits | 12 bits |\n|---|---|---|\n'
        "$levels" --level 1 --sizes 5 --threads 1 --repetitions 40 | pivot 5 | grep -E '^. (Bayer|TrueSense)'
        ;;
    sizes)
        printf '| Engine | 8 bits: 0.3 | 2 | 5 | 12 | 48 | 12 bits: 0.3 | 2 | 5 | 12 | 48 |\n'
        printf '|---|---|---|---|---|---|---|---|---|---|---|\n'
        "$table" --sizes 640x480,2,5,12,48 --threads 1 --repetitions 30 --seconds 3 | pivot 4
        ;;
    bayer | truesense) "$choosing" "$1" "$root/docs/pictures/choosing-$1.png" ;;
    costs)
        printf '| Engine | R, 8 bits | 12 bits | bytes per pixel, 8 bits | 12 bits |\n|---|---|---|---|---|\n'
        "$table" --sizes 5 --threads 1 --repetitions 20 --seconds 1 | awk -F' *\\| *' '
            $2 !~ /^(Bayer|TrueSense)/ { next }
            $3 == 8 { r = $8; kept = $11 }
            $3 == 12 { printf "| %s | %.2g | %.2g | %.1f | %.1f |\n", $2, r, $8, kept, $11 }'
        ;;
    small)
        printf '| Engine | 8 bits, 1 / 2 threads: 320x240 | beyond pixels | 12 bits: 320x240 | beyond pixels |\n'
        printf '|---|---|---|---|---|\n'
        "$table" --small --threads 1,2 | awk -F' *\\| *' '
            $3 ~ /^[0-9]+$/ && $2 ~ /^(Bayer|TrueSense)/ {
                if ($3 == 8 && $4 == 1) { names[++rows] = $2 }
                slash = $4 == 1 ? "" : " / "
                whole[$2, $3] = whole[$2, $3] slash $5
                beyond[$2, $3] = beyond[$2, $3] slash sprintf("%.0f", $7)
            }
            END {
                for (row = 1; row <= rows; ++row) {
                    n = names[row]
                    print "| " n " | " whole[n, 8] " | " beyond[n, 8] " | " whole[n, 12] " | " beyond[n, 12] " |"
                }
            }'
        ;;
    *) echo "performance.sh: no table '$1'" >&2; return 1 ;;
    esac
}

[ $# -gt 0 ] || set -- engines avx2 sizes small
for name in "$@"; do
    measure "$name" >"$work/table"
    for page in "$root"/README.md "$root"/docs/{performance,choosing}.md; do
        awk -v name="$name" -v table="$work/table" '
            $0 == "<!-- " name " -->" { print; while ((getline line < table) > 0) { print line }; skipping = 1; next }
            $0 == "<!-- end -->" { skipping = 0 }
            !skipping' "$page" >"$work/page"
        cp "$work/page" "$page"
    done
done
