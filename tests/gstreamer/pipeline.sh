#!/usr/bin/env bash
# The plugin, loaded by GStreamer's own programs.
#
#     pipeline.sh PLUGIN_FOLDER
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export GST_PLUGIN_PATH=$1 GST_REGISTRY=$work/registry

gst-inspect-1.0 orvdemosaic >"$work/text"
for word in bggr16le RGBA64_LE Proprietary algorithm mosaic parameters; do
    grep -q "$word" "$work/text" || { echo "gst-inspect-1.0 does not show $word" >&2; exit 1; }
done
# A colour through a mosaic and back; the frame of the sink is the colour's.
timeout 60 gst-launch-1.0 -q videotestsrc pattern=solid-color foreground-color=0xFF4080C0 num-buffers=2 ! rgb2bayer \
    ! video/x-bayer,format=gbrg,width=321,height=240 ! orvdemosaic algorithm=2 ! video/x-raw,format=RGBx \
    ! fakesink dump=true | awk 'NR == 200 { print $3, $4, $5, $6 }' | grep -qx '40 80 c0 ff'
# The message counts: having printed it, gst-launch-1.0 may wait for a pipeline that will never play.
if timeout 20 gst-launch-1.0 -q videotestsrc num-buffers=1 ! video/x-raw,format=GRAY8 ! orvdemosaic ! fakesink \
    2>"$work/text"; then
    exit 1
fi
grep -q 'set mosaic=truesense' "$work/text"
