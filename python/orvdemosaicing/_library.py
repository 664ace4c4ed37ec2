"""The shared libraries: where they lie, their records, calls and status words."""

from __future__ import annotations

import ctypes
import os
import threading
import weakref
from ctypes import POINTER, c_bool, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_uint32, c_void_p
from dataclasses import dataclass
from pathlib import Path
from typing import Any


class OrvError(RuntimeError):
    """A call of the library failed: `status` is its status word, `text` what that means."""

    def __init__(self, action: str, status: int) -> None:
        super().__init__(action, status)
        self.status = status
        self.text: str = helpers.OrvHelpers_StatusText(status).decode()

    def __str__(self) -> str:
        return f"{self.args[0]}: 0x{self.status:08X} ({self.text})"


def check(action: str, status: int) -> None:
    """Raises OrvError for any status word but success."""
    if status != 0:
        raise OrvError(action, status)


class Image(ctypes.Structure):
    """One frame. The pixels are not the record's own."""

    _fields_ = [
        ("size", c_uint32),
        ("version", c_uint32),
        ("pixelType", c_uint32),
        ("bitDepth", c_int32),
        ("reserved0", c_uint32 * 5),
        ("width", c_int32),
        ("height", c_int32),
        ("imageSize", c_int32),
        ("stride", c_int32),
        ("reserved5", ctypes.c_uint64 * 3),
        ("data", c_void_p),
        ("reserved8", ctypes.c_uint64),
    ]


class ParamInfo(ctypes.Structure):
    """What the helpers tell of a parameter."""

    _fields_ = [
        ("name", c_char_p),
        ("type", c_int32),
        ("algorithms", c_uint32),
        ("integerLimit", c_int64),
        ("standard", c_double),
        ("standardText", c_char_p),
        ("range", c_char_p),
        ("unit", c_char_p),
        ("meaning", c_char_p),
    ]


def _load(name: str) -> ctypes.CDLL:
    """The library of that file name. Calls release the interpreter lock."""
    wanted = os.environ.get("ORV_LIBRARY")
    if wanted:
        path = Path(wanted)
        places = [str((path.parent if ".so" in path.name else path) / name)]
    else:
        places = [str(Path(__file__).resolve().parent / name), name]
    failures = []
    for place in places:
        try:
            return ctypes.CDLL(place)
        except OSError as error:
            failures.append(str(error))
    raise ImportError(
        f"{'; '.join(failures)}. Install libOrvDemosaicing where the loader finds it, "
        "or set ORV_LIBRARY to the library or its folder"
    )


def _declare(source: ctypes.CDLL, name: str, result: Any, *arguments: Any) -> None:
    function = getattr(source, name)
    function.restype = result
    function.argtypes = arguments


library = _load("libOrvDemosaicing.so.1")
helpers = _load("libOrvHelpers.so.1")

_IMAGE = POINTER(Image)
_OUT_INT = POINTER(c_int)
_declare(library, "BayerToColor", c_uint32, _IMAGE, _IMAGE, c_int)
for _family in ("OrvBayer", "OrvTrueSense"):
    _declare(library, f"{_family}_CreateComponent", c_void_p)
    _declare(library, f"{_family}_DeleteComponent", None, c_void_p)
    _declare(library, f"{_family}_GetComponent", c_void_p, c_void_p)
    _declare(library, f"{_family}_ConvertImage", c_uint32, c_void_p, _IMAGE, _IMAGE)
    _declare(library, f"{_family}_ReleaseData", None, c_void_p)
_declare(helpers, "OrvHelpers_StatusText", c_char_p, c_uint32)
_declare(helpers, "OrvWord_FromName", c_uint32, c_char_p, _OUT_INT)
_declare(helpers, "OrvWord_Bits", c_int, c_uint32)
_declare(helpers, "OrvWord_Pattern", c_int, c_uint32)
_declare(helpers, "OrvWord_Grid", c_int, c_uint32)
_declare(helpers, "OrvWord_TrueSense", c_uint32, c_int, c_int)
_declare(helpers, "OrvWord_AfterCrop", c_uint32, c_uint32, c_int64, c_int64)
_declare(helpers, "OrvWord_AfterMirror", c_uint32, c_uint32, c_bool, c_bool, c_int64, c_int64)
_declare(helpers, "OrvPfnc_FromName", c_uint32, c_char_p)
_declare(helpers, "OrvPfnc_Name", c_char_p, c_uint32)
_declare(helpers, "OrvPfnc_ToWord", c_uint32, c_uint32, _OUT_INT)
_declare(helpers, "OrvPacking_Name", c_char_p, c_int)
_declare(helpers, "OrvPacking_FromName", c_int, c_char_p)
_declare(helpers, "OrvPacking_RowBytes", c_int64, c_int, c_int64)
_declare(helpers, "OrvPacking_Bits", c_int, c_int)
_declare(
    helpers, "OrvPacking_Unpack", c_uint32,
    c_int, c_void_p, c_size_t, c_int64, c_int64, c_int64, c_void_p, c_size_t, c_int64,
)  # fmt: skip
_declare(helpers, "OrvFrame_TightBytes", c_int64, _IMAGE, c_int)
_declare(helpers, "OrvFrame_Tight", c_uint32, _IMAGE, c_int, c_void_p, c_size_t, _IMAGE)
_declare(helpers, "OrvParam_InfoCount", c_int, c_int)
_declare(helpers, "OrvParam_InfoAt", POINTER(ParamInfo), c_int, c_int)
_declare(helpers, "OrvParam_GetInteger", c_uint32, c_void_p, c_char_p, POINTER(c_int64))
_declare(helpers, "OrvParam_SetInteger", c_uint32, c_void_p, c_char_p, c_int64)
_declare(helpers, "OrvParam_GetFloat", c_uint32, c_void_p, c_char_p, POINTER(c_double))
_declare(helpers, "OrvParam_SetFloat", c_uint32, c_void_p, c_char_p, c_double)


@dataclass(frozen=True, eq=False)
class Family:
    """The calls of one mosaic family, and what tells its methods apart."""

    name: str
    number: int  # in status words and of the helpers' table of parameters
    algorithm: str  # the parameter that chooses the method
    methods: dict[str, int]

    def call(self, operation: str) -> Any:
        return getattr(library, f"Orv{self.name}_{operation}")


BAYER = Family("Bayer", 5, "BayerAlgType", {"bilinear": 0, "adaptive": 1, "edge-aware": 2})
TRUESENSE = Family(
    "TrueSense", 6, "TrueSenseAlgType", {"fast": 0, "simple": 1, "bayer-like": 2, "parallel": 3, "reference": 4}
)


class Component:
    """A conversion component, ended by close or with this object. Hold `lock` during calls."""

    def __init__(self, family: Family) -> None:
        self.family = family
        self.lock = threading.RLock()
        self._convert = family.call("ConvertImage")
        self._release = family.call("ReleaseData")
        self._pointer = family.call("CreateComponent")()
        self._view = family.call("GetComponent")(self._pointer)
        self._end = weakref.finalize(self, family.call("DeleteComponent"), self._pointer)

    @property
    def view(self) -> int:
        """What parameters are set on."""
        self._check_open()
        return self._view

    def convert(self, source: Image, destination: Image) -> int:
        self._check_open()
        return self._convert(self._pointer, ctypes.byref(source), ctypes.byref(destination))

    def release(self) -> None:
        self._check_open()
        self._release(self._pointer)

    def close(self) -> None:
        self._end()

    def _check_open(self) -> None:
        if not self._end.alive:
            raise ValueError("this Demosaicer is closed")
