#!/usr/bin/env bash
# Unpacks the Debian packages to a scratch root and uses them there, after lintian and apt have judged them. The
# machine's own packages stay as they are.
#
#     packages.sh FOLDER CXX GENERATOR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
packages=("$(realpath "$1")"/*.deb)

options=(--fail-on error,warning)
[ "$(id -u)" -ne 0 ] || options+=(--allow-root)
lintian "${options[@]}" "${packages[@]}"
apt-get install --simulate "${packages[@]}" >"$work/log" || { cat "$work/log"; exit 1; }

for package in "${packages[@]}"; do
    dpkg-deb -x "$package" "$work"
    dpkg-deb -c "$package" | awk '!/\/$/ { print $6 }' >>"$work/names"
done
[ -z "$(sort "$work/names" | uniq -d)" ] || { echo "in two packages:"; sort "$work/names" | uniq -d; exit 1; }
dpkg-deb --ctrl-tarfile "$1"/liborvdemosaicing[0-9]*.deb | tar xO ./triggers | grep -qx 'activate-noawait ldconfig'

lib=$(dirname "$(find "$work" -name 'libOrvDemosaicing.so')")
[ "$lib" = "$work/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)" ]
export LD_LIBRARY_PATH=$lib
if readelf -d "$lib"/*.so "$lib"/gstreamer-1.0/*.so "$work"/usr/bin/* | grep -E 'R(UN)?PATH'; then exit 1; fi
bash "$here/stranger.sh" "$work/usr" "$2" "$3"

for tool in orv-convert orv-grab; do
    "$work/usr/bin/$tool" --help >/dev/null
    zgrep -q SYNOPSIS "$work/usr/share/man/man1/$tool.1.gz"
done
GST_REGISTRY=$work/registry GST_PLUGIN_PATH=$lib/gstreamer-1.0 gst-inspect-1.0 orvdemosaic >/dev/null
PYTHONPATH=$work/usr/lib/python3/dist-packages /usr/bin/python3 -c '
import importlib.metadata, numpy, orvdemosaicing
assert importlib.metadata.version("orvdemosaicing") == orvdemosaicing.__version__
assert orvdemosaicing.demosaic(numpy.zeros((4, 6), "uint8"), "RGGB").shape == (4, 6, 3)'
