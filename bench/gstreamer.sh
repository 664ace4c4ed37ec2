#!/usr/bin/env bash
# CPU time per frame of orvdemosaic beside GStreamer's own converters, 2592 by 1944 at 8 bits: user time of pipelines less
# that of their source, best of ROUNDS rounds that interleave them.
#
#     gstreamer.sh BUILD [ROUNDS]
set -euo pipefail
rounds=${2:-7}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export GST_PLUGIN_PATH=$1/gstreamer GST_REGISTRY=$work/registry OMP_WAIT_POLICY=passive
frames=40
TIMEFORMAT=%U

head -c $((2592 * 1944)) /dev/urandom >"$work/frame.raw"
names=(source "orvdemosaic, BGR" "bayer2rgb ! videoconvert, BGR" "orvdemosaic, BGRx" "bayer2rgb, BGRx"
    "orvdemosaic algorithm=2, BGR")
pipelines=(identity "orvdemosaic ! video/x-raw,format=BGR" "bayer2rgb ! videoconvert ! video/x-raw,format=BGR"
    "orvdemosaic ! video/x-raw,format=BGRx" "bayer2rgb ! video/x-raw,format=BGRx"
    "orvdemosaic algorithm=2 ! video/x-raw,format=BGR")
for ((round = 0; round < rounds; ++round)); do
    for i in "${!pipelines[@]}"; do
        # shellcheck disable=SC2086
        seconds=$( { time gst-launch-1.0 -q multifilesrc location="$work/frame.raw" num-buffers=$frames loop=true \
            caps=video/x-bayer,format=rggb,width=2592,height=1944,framerate=30/1 ! ${pipelines[i]} ! fakesink \
            >/dev/null; } 2>&1)
        echo "$i $seconds"
    done
done | awk -v frames=$frames '
    !($1 in best) || $2 < best[$1] { best[$1] = $2 }
    END { for (i = 1; i in best; ++i) print i, 1000 * (best[i] - best[0]) / frames }' |
    while read -r i milliseconds; do
        printf '%-32s %6.2f ms\n' "${names[i]}" "$milliseconds"
    done
