#!/usr/bin/env bash
# Includes run downhill: prints those of src that name a folder above their own, and fails where there are any. The table
# of engines, which knows all of them, is free.
#
#     includes.sh SRC
set -euo pipefail
cd "$1"
below='component|rows'
! grep -ro '^#include "[a-z][^"]*/' --include=*.h --include=*.cpp --exclude=Engines.cpp . |
    sed -E 's|^\./(.*)/[^/]*:#include "(.*)/$|\1 includes \2|' | sort -u |
    grep -vxE -e "(component|rows) includes ($below)" -e "(bayer|truesense) includes ($below)" \
        -e '([a-z/]+) includes \1' -e "engines includes (truesense|$below)" \
        -e "pipeline(/[a-z]+)? includes (pipeline|truesense|$below)" -e 'pipeline/parallel includes pipeline/reference'
