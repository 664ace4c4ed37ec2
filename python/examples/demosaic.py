#!/usr/bin/env python3
"""A raw file of 12-bit samples behind an RGGB mosaic (16-bit little-endian storage, no padding) to a PPM picture.

    demosaic.py FRAME.raw WIDTH HEIGHT COLOUR.ppm
"""

import sys
from pathlib import Path

import orvdemosaicing as orv


def main() -> None:
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    frame, picture = Path(sys.argv[1]), Path(sys.argv[4])
    try:
        width, height = int(sys.argv[2]), int(sys.argv[3])
        raw = orv.unpack(frame.read_bytes(), width, height, None, bits=12)
    except (OSError, ValueError) as error:
        sys.exit(f"{frame}: {error}")
    rgb = orv.demosaic(raw, "RGGB", bits=12, method="edge-aware")
    samples = rgb.astype(">u2").tobytes()  # a PPM has the high byte first
    picture.write_bytes(f"P6\n{width} {height}\n4095\n".encode() + samples)


if __name__ == "__main__":
    main()
