"""Mosaics and packed layouts under the names of cameras."""

from __future__ import annotations

import ctypes
from functools import lru_cache
from typing import Any, NamedTuple, Optional, TypeVar, Union

import numpy as np
from numpy.typing import NDArray

from ._library import check, helpers

PATTERNS = ("GRBG", "RGGB", "BGGR", "GBRG")  # in the order of the helpers' numbers
ORDERS = ("RGB", "BGR")
BAYER_BITS = (8, 10, 12, 14, 16)
TRUESENSE_BITS = (8, 10, 12, 14)


def choose(what: str, value: Any, among: Any) -> None:
    """Raises ValueError unless `value` is one of `among`."""
    if value not in among:
        raise ValueError(f"{what} is {value!r}, not one of {', '.join(map(repr, among))}")


@lru_cache(maxsize=None)
def bayer_word(pattern: str, bits: int) -> int:
    choose("pattern", pattern, PATTERNS)
    choose("bits", bits, BAYER_BITS)
    return helpers.OrvWord_FromName(f"{pattern}{bits}".encode(), None)


@lru_cache(maxsize=None)
def truesense_word(grid: int, bits: int) -> int:
    choose("grid", grid, range(16))
    choose("bits", bits, TRUESENSE_BITS)
    return helpers.OrvWord_TrueSense(grid, bits)


@lru_cache(maxsize=None)
def colour_word(order: str, bits: int) -> int:
    choose("order", order, ORDERS)
    return helpers.OrvWord_FromName(f"{order}{bits}".encode(), None)


def mosaic_of(word: int) -> tuple[Optional[str], Optional[int]]:
    """Pattern and grid of a word; one of them is None, both are for a word that is no mosaic."""
    pattern, grid = helpers.OrvWord_Pattern(word), helpers.OrvWord_Grid(word)
    return (None if pattern < 0 else PATTERNS[pattern]), (None if grid < 0 else grid)


Mosaic = TypeVar("Mosaic", str, int)  # pattern or grid


class Format(NamedTuple):
    """A camera's pixel format: what demosaic or truesense, and unpack, want to know of it."""

    name: str  #: in the Pixel Format Naming Convention, as "BayerRG12p"
    pattern: Optional[str]  #: of a Bayer mosaic, else None
    grid: Optional[int]  #: of a TrueSense mosaic, else None
    bits: int  #: significant bits of a sample
    packing: Optional[str]  #: None: a sample in one byte or two


def from_pfnc(format: Union[str, int]) -> Format:
    """The mosaic format of a PFNC name, as "BayerRG12p", or number, as 0x010C0059; numbers in texts are understood.

    Raises ValueError for a format that is no mosaic of the library.
    """
    number = format
    if isinstance(format, str):
        number = int(format, 0) if format[:1].isdigit() else helpers.OrvPfnc_FromName(format.encode())
    packing = ctypes.c_int()
    word = helpers.OrvPfnc_ToWord(number, ctypes.byref(packing))
    pattern, grid = mosaic_of(word)
    if pattern is None and grid is None:
        raise ValueError(f"{format} is no Bayer or TrueSense format as PFNC names them: BayerRG12p, SCF1WBWG12")
    name = None if packing.value == 0 else helpers.OrvPacking_Name(packing.value).decode()
    return Format(helpers.OrvPfnc_Name(number).decode(), pattern, grid, helpers.OrvWord_Bits(word), name)


def pattern_after(
    mosaic: Mosaic,
    x: int = 0,
    y: int = 0,
    *,
    fliplr: bool = False,
    flipud: bool = False,
    shape: Optional[tuple[int, ...]] = None,
) -> Mosaic:
    """The pattern, or grid, of ``raw[y:, x:]`` of a frame whose pattern or grid is `mosaic`.

    fliplr, flipud: and of that in turn mirrored as by np.fliplr, np.flipud; this needs the shape (H, W) mirrored.

    Raises ValueError for a TrueSense frame mirrored on one side, which no grid describes: leave grid as it is, and set
    the parameter ``horMirrored`` or ``verMirrored``.
    """
    bayer = isinstance(mosaic, str)
    if x < 0 or y < 0:
        raise ValueError(f"the crop begins at ({x}, {y}); its corner lies inside the frame")
    word = bayer_word(mosaic, 8) if bayer else truesense_word(mosaic, 8)
    word = helpers.OrvWord_AfterCrop(word, x, y)
    if fliplr or flipud:
        if shape is None or min(shape[:2]) < 1:
            raise ValueError(f"shape is {shape}: what a mirror makes of a mosaic depends on (height, width)")
        word = helpers.OrvWord_AfterMirror(word, fliplr, flipud, shape[1], shape[0])
        if word == 0:
            raise ValueError(
                "no grid describes a TrueSense frame mirrored on one side: leave grid as it is and set the parameter "
                f"{'horMirrored' if fliplr else 'verMirrored'}"
            )
    result: Any = mosaic_of(word)[0 if bayer else 1]
    return result


def unpack(
    data: Any,
    width: int,
    height: int,
    packing: Optional[str],
    bits: Optional[int] = None,
    stride: Optional[int] = None,
) -> NDArray[Any]:
    """The samples of a frame as a camera sends it: (height, width), uint16, or uint8 for 8 bits.

    data: bytes, or anything with a contiguous buffer; no more and no less than the frame.
    packing: "10p", "12p", "10Packed", "12Packed", "RAW10" or "RAW12"; None for samples that are not packed, which are
        not copied then: one byte where `bits` is 8, else two, low byte first.
    bits: significant bits; packed samples tell by themselves.
    stride: bytes from row to row, where rows are padded.

    Raises ValueError for data of another length, and names that are unknown.
    """
    data = np.frombuffer(data, np.uint8)
    if width < 1 or height < 1:
        raise ValueError(f"the frame is {width} by {height}: both must be above 0")
    rows, samples = height, width
    number = 0 if packing is None else helpers.OrvPacking_FromName(packing.encode())
    if packing is None:
        choose("bits", bits, BAYER_BITS)
        sample = np.dtype("u1" if bits == 8 else "<u2")
        row_bytes = width * sample.itemsize
    elif number < 1:
        raise ValueError(f"packing is {packing!r}, not one of 10p, 12p, 10Packed, 12Packed, RAW10, RAW12")
    else:
        choose("bits", bits, (None, helpers.OrvPacking_Bits(number)))
        if stride is None and packing.endswith("p"):  # rows run on within a byte
            rows, samples = 1, width * height
        row_bytes = helpers.OrvPacking_RowBytes(number, samples)
    step = row_bytes if stride is None else stride
    if step < row_bytes:
        raise ValueError(f"stride is {step}, a row has {row_bytes} bytes")
    needed = (rows - 1) * step + row_bytes
    if data.size not in (needed, rows * step):
        layout = packing or f"{bits} bits"
        raise ValueError(f"data has {data.size} bytes, a frame of {width} by {height} and {layout} has {needed}")
    if packing is None:
        return np.ndarray((height, width), sample, data, strides=(step, sample.itemsize))
    frame = np.empty((height, width), np.uint16)
    status = helpers.OrvPacking_Unpack(
        number, data.ctypes.data, data.size, step, samples, rows, frame.ctypes.data, frame.nbytes, 2 * samples
    )
    check(f"unpack {packing}", status)
    return frame
