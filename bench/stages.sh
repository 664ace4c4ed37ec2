#!/usr/bin/env bash
# Where an engine's time goes, by row function: share of the time (sampled by perf at 2592 by 1944), instructions and
# bytes that miss the first-level cache per pixel (callgrind, 1024 by 768, 32 KiB first level). One thread. A table in
# Markdown per engine; functions below one per cent of time and instructions are left out.
#
#     stages.sh BUILD [TEXT]           engines whose name holds TEXT
set -euo pipefail
frames=$1/bench/orv_frames
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export OMP_NUM_THREADS=1

"$frames" --list | grep -F "${2:-}" >"$work/list"
while IFS='|' read -r name bits; do
    times=$("$frames" "$name" "$bits" 2592x1944 15)
    perf record -q -o "$work/perf" -e cpu-clock -F 5000 "$frames" "$name" "$bits" 2592x1944 15 >/dev/null 2>&1
    perf report -i "$work/perf" --stdio -q --no-children -F overhead,symbol 2>/dev/null |
        sed -nE 's/^ *([0-9.]+)% +\[.\] +(.*)$/\1\t\2/p' >"$work/time"
    valgrind --tool=callgrind --cache-sim=yes --D1=32768,8,64 --collect-atstart=no --toggle-collect=CountedFrames \
        --callgrind-out-file="$work/callgrind" "$frames" "$name" "$bits" 1024x768 1 >/dev/null 2>&1
    callgrind_annotate --threshold=100 --show=Ir,D1mr,D1mw "$work/callgrind" |
        sed -nE 's/^ *([0-9,]+) \([^)]*\) +([0-9,]+|\.) (\([^)]*\))? +([0-9,]+|\.) (\([^)]*\))? +.*\.cpp?:(.*) \[.*$/\1\t\2\t\4\t\6/p;
                  s/^ *([0-9,]+) \([^)]*\) +([0-9,]+|\.) (\([^)]*\))? +([0-9,]+|\.) (\([^)]*\))? +\?\?\?:(.*) \[.*$/\1\t\2\t\4\t\6/p' \
            >"$work/counts"
    printf '\n%s, %s bits: %s ns/pixel\n\n| Stage | time | instructions | bytes missed |\n|---|---|---|---|\n' \
        "$name" "$bits" "${times%% *}"
    awk -F'\t' -v pixels=$((1024 * 768)) '
        function plain(symbol) {
            gsub(/orv::|\(anonymous namespace\)::|unsigned |[[:alnum:]_]+ \* __restrict__/, "", symbol)
            sub(/\(.*$/, "", symbol)
            sub(/^(void|int|bool) /, "", symbol)
            sub(/Avx(2|512)/, "", symbol)
            return symbol
        }
        function number(text) { gsub(/[,.]/, "", text); return text + 0 }
        NR == FNR { time[plain($2)] += $1; next }
        {
            stage = plain($4)
            instructions[stage] += number($1)
            missed[stage] += 64 * (number($2) + number($3))
            all += number($1)
        }
        END {
            for (stage in instructions) {
                if (instructions[stage] > all / 100 || time[stage] > 1) {
                    printf "| %s | %.1f %% | %.2f | %.2f |\n", stage, time[stage], instructions[stage] / pixels,
                           missed[stage] / pixels
                }
            }
            printf "| all |  | %.2f | |\n", all / pixels
        }' "$work/time" "$work/counts" | sort -t'|' -k3,3nr
done <"$work/list"
