"""Frames to colour: one frame by a function, a stream by a Demosaicer."""

from __future__ import annotations

import ctypes
import functools
from typing import Any, Optional

import numpy as np
from numpy.typing import DTypeLike, NDArray

from ._formats import bayer_word, choose, colour_word, truesense_word
from ._library import BAYER, TRUESENSE, Component, Image, OrvError, check, helpers, library
from ._parameters import ComponentParameters, check_names

_Frame = NDArray[Any]  # uint8 or uint16

_UINT8 = np.dtype(np.uint8)
_UINT16 = np.dtype(np.uint16)
_INT_MAX = 2**31 - 1
_LONGEST = 2**28  # width and height; bytes of a row fit the records' fields then


def demosaic(
    raw: _Frame,
    pattern: str,
    bits: Optional[int] = None,
    method: str = "bilinear",
    order: str = "RGB",
    out: Optional[_Frame] = None,
) -> _Frame:
    """Converts one frame behind a Bayer mosaic to colour.

    raw: (H, W), uint8, or uint16 with the low `bits` bits significant. Any view; copied where its rows or columns
        lie as the method cannot read them.
    pattern: the top-left 2 by 2 cell row by row, "RGGB", "GRBG", "GBRG" or "BGGR".
    bits: 10, 12, 14 or 16 for uint16; 8, which goes without saying, for uint8.
    method: "bilinear", "edge-aware", or "adaptive" (gradient-weighted colour differences; the slowest).
    order: "RGB" or "BGR".
    out: (H, W, 3) of raw's dtype; rows may lie apart. Made where None.

    Returns out; samples keep their scale, so 12-bit frames give 0 to 4095. Frames never depend on one another, and
    threads may call this at the same time.

    Raises ValueError for arguments that do not fit, with out as it was, and OrvError when the library fails.
    """
    raw, bits = _checked_raw(raw, bits)
    choose("method", method, BAYER.methods)
    algorithm = BAYER.methods[method]
    source_word = bayer_word(pattern, bits)
    destination_word = colour_word(order, bits)
    out = _checked_out(out, raw, raw.dtype)
    source, _kept = _source(source_word, bits, raw, algorithm)
    destination = _record(destination_word, bits, out)
    check(f"method {method!r}", library.BayerToColor(ctypes.byref(source), ctypes.byref(destination), algorithm))
    return out


def truesense(
    raw: _Frame,
    grid: int = 0,
    bits: Optional[int] = None,
    method: str = "fast",
    dtype: Optional[DTypeLike] = None,
    order: str = "RGB",
    out: Optional[_Frame] = None,
    **parameters: float,
) -> _Frame:
    """Converts one frame behind a TrueSense mosaic (half of its sites panchromatic) to colour.

    raw: (H, W), uint8, or uint16 with the low `bits` bits significant; any view.
    grid: 0 to 15, which position of the 4 by 4 cell the first sample has: column grid & 3, row grid >> 2 of
        P B P G / B P G P / P G P R / G P R P.
    bits: 10, 12 or 14 for uint16; 8, which goes without saying, for uint8.
    method: "fast", "simple", "bayer-like", "parallel" or "reference", in the order of what they cost.
    dtype: of the result: raw's where None, or np.uint8 from uint16.
    order: "RGB" or "BGR".
    out: (H, W, 3) of dtype; rows may lie apart. Made where None.
    parameters: of the component, by name, as ``redGain=1.5``; :func:`parameters` lists them.

    Returns out: uint8, or uint16 of 0 to 2**bits - 1 (to 65535 with ``normalizationEnable=1``). Threads may call this
    at the same time. A stream of frames costs less by a :class:`Demosaicer`, which keeps its memory.

    Raises ValueError for arguments that do not fit, with out as it was, and OrvError when the library fails.
    """
    settings: dict[str, Any] = {"grid": grid, "dtype": dtype, **parameters}
    with Demosaicer(None, bits, method, order, **settings) as convert:
        return convert(raw, out)


class Demosaicer:
    """Converts the frames of one camera; keeps its settings and memory from frame to frame.

        with Demosaicer("RGGB", bits=12, method="adaptive") as convert:
            for raw in camera:
                show(convert(raw))

    pattern or grid tells the mosaic, Bayer or TrueSense; bits, method, order, dtype and parameters are those of
    :func:`demosaic` and :func:`truesense`. Attributes method, order and parameters may be changed between frames.

    carry: leave the sums that method "adaptive" keeps above 8 bits from frame to frame in place, as the component
        does by itself; a frame then depends on the frames before it. By default every frame stands alone.

    Threads may share one; it converts one frame at a time, and the interpreter lock is free meanwhile. For frames at
    the same time take one for each thread. A forked process may go on with its copy.
    """

    def __init__(
        self,
        pattern: Optional[str] = None,
        bits: Optional[int] = None,
        method: Optional[str] = None,
        order: str = "RGB",
        *,
        grid: Optional[int] = None,
        dtype: Optional[DTypeLike] = None,
        carry: bool = False,
        **parameters: float,
    ) -> None:
        if (pattern is None) == (grid is None):
            raise ValueError('say either the pattern of a Bayer mosaic, as "RGGB", or the grid of a TrueSense one')
        self._family = BAYER if grid is None else TRUESENSE
        check_names(self._family, parameters)
        self._pattern, self._grid, self._bits, self._carry = pattern, grid, bits, carry
        self._dtype = None if dtype is None else np.dtype(dtype)
        self._shape: tuple[int, ...] = ()
        self.order = order
        self._component = Component(self._family)
        self.parameters = ComponentParameters(self._component)
        if method is not None:
            self.method = method
        self.parameters.update(parameters)

    @property
    def method(self) -> str:
        """How frames are converted, a word of :func:`demosaic` or :func:`truesense`."""
        number = self._algorithm()
        return next((word for word, each in self._family.methods.items() if each == number), str(number))

    @method.setter
    def method(self, method: str) -> None:
        choose("method", method, self._family.methods)
        self.parameters[self._family.algorithm] = self._family.methods[method]

    def __call__(self, raw: _Frame, out: Optional[_Frame] = None) -> _Frame:
        """Converts one frame: raw, out, the result and the errors as in :func:`demosaic` and :func:`truesense`."""
        raw, bits = _checked_raw(raw, self._bits)
        component = self._component
        with component.lock:
            algorithm = self._algorithm()
            if self._grid is None:
                word, dtype = bayer_word(self._pattern, bits), raw.dtype
            else:
                word, dtype = truesense_word(self._grid, bits), _result_dtype(self._dtype, raw, bits, algorithm)
            colour_bits = bits if dtype == raw.dtype else 8
            colour = colour_word(self.order, colour_bits)
            out = _checked_out(out, raw, dtype)
            source, _kept = _source(word, bits, raw, algorithm)
            if self._grid is None and algorithm == BAYER.methods["adaptive"]:
                # Its planes have one size; above 8 bits they carry sums into the next frame.
                if raw.shape != self._shape or (bits > 8 and not self._carry):
                    component.release()
                self._shape = raw.shape
            status = component.convert(source, _record(colour, colour_bits, out))
            if status != 0:
                raise OrvError(f"method {self.method!r}", status)
        return out

    def reset(self) -> None:
        """Forgets all frames and frees the memory kept for the next one; settings stay."""
        with self._component.lock:
            self._component.release()

    def close(self) -> None:
        """Ends the component; conversions raise ValueError from then on. Called when a with block ends."""
        with self._component.lock:
            self._component.close()

    def __enter__(self) -> "Demosaicer":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, ...]:
        settings: dict[str, Any] = {"grid": self._grid, "dtype": self._dtype, "carry": self._carry, **self.parameters}
        return functools.partial(Demosaicer, self._pattern, self._bits, None, self.order, **settings), ()

    def _algorithm(self) -> int:
        number = self.parameters[self._family.algorithm]
        # Numbers that a parameter takes but no algorithm has: the first one stands in for them in the Bayer family.
        return 0 if self._family is BAYER and number >= len(BAYER.methods) else int(number)


def _checked_raw(raw: _Frame, bits: Optional[int]) -> tuple[_Frame, int]:
    """The frame as an array and its significant bits."""
    raw = np.asarray(raw)
    if raw.dtype == _UINT8:
        if bits not in (None, 8):
            raise ValueError(f"raw is uint8 and bits is {bits}: deeper samples stand in uint16 arrays")
        bits = 8
    elif raw.dtype != _UINT16:
        raise ValueError(f"raw has dtype {raw.dtype}, frames are uint8 or uint16: convert it by raw.astype(np.uint16)")
    elif bits is None or bits == 8:
        raise ValueError("raw is uint16: say its significant bits, as bits=12 (8-bit samples: raw.astype(np.uint8))")
    if raw.ndim != 2:
        raise ValueError(f"raw has shape {raw.shape}, a frame has one sample per pixel: (height, width)")
    if raw.size == 0 or max(raw.shape) > _LONGEST:
        raise ValueError(f"raw has shape {raw.shape}: width and height go from 1 to {_LONGEST}")
    return raw, bits


def _result_dtype(wanted: Optional[np.dtype[Any]], raw: _Frame, bits: int, algorithm: int) -> np.dtype[Any]:
    """What a TrueSense frame is converted to."""
    dtype = raw.dtype if wanted is None else wanted
    if dtype not in (_UINT8, raw.dtype):
        raise ValueError(f"dtype is {dtype}: {raw.dtype} frames become {raw.dtype}, and uint16 ones also uint8")
    if algorithm == TRUESENSE.methods["reference"] and bits == 10 and dtype == _UINT8:
        raise ValueError("method 'reference' makes no uint8 of 10 bits: take dtype=np.uint16 or method='parallel'")
    return dtype


def _checked_out(out: Optional[_Frame], raw: _Frame, dtype: np.dtype[Any]) -> _Frame:
    """`out`, or a new array, with room for the colours of `raw`."""
    shape = (*raw.shape, 3)
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray) or out.shape != shape or out.dtype != dtype:
        given = f"{out.dtype} of shape {out.shape}" if isinstance(out, np.ndarray) else type(out).__name__
        raise ValueError(f"out is {given}, this frame needs {dtype} of shape {shape}")
    row, *pixel = out.strides
    sample = dtype.itemsize
    if pixel != [3 * sample, sample] or not shape[1] * 3 * sample <= row <= _INT_MAX or not out.flags.behaved:
        raise ValueError("out must be writeable, its rows in ascending order and without gaps between pixels")
    if np.may_share_memory(raw, out):
        raise ValueError("out shares memory with raw, which is read until the end: give it memory of its own")
    return out


def _record(word: int, bits: int, pixels: _Frame) -> Image:
    record = Image()
    record.pixelType = word
    record.bitDepth = bits
    record.height, record.width = pixels.shape[:2]
    record.stride = pixels.strides[0]
    record.imageSize = min(pixels.nbytes, _INT_MAX)
    record.data = pixels.ctypes.data
    return record


def _source(word: int, bits: int, raw: _Frame, algorithm: int) -> tuple[Image, Any]:
    """The record of a frame as the algorithm reads it, and what must live as long as the record."""
    # Rows without padding of an even number of samples suit every algorithm; the helpers know what suits else.
    flags = raw.flags
    if flags.c_contiguous and flags.aligned and raw.shape[1] % 2 == 0:
        return _record(word, bits, raw), raw
    row, column = raw.strides
    # They take rows any distance apart, but not samples.
    if column != raw.itemsize or not raw.shape[1] * column <= abs(row) <= _INT_MAX:
        raw = np.ascontiguousarray(raw)
    record = _record(word, bits, raw)
    reference = ctypes.byref(record)
    needed = helpers.OrvFrame_TightBytes(reference, algorithm)
    copy = np.empty(max(needed, 0), np.uint8) if needed else None
    address = None if copy is None else copy.ctypes.data
    check("rows of the frame", helpers.OrvFrame_Tight(reference, algorithm, address, max(needed, 0), reference))
    return record, (raw, copy)
