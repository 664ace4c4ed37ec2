"""Colour from the raw frames of single-sensor industrial cameras, by libOrvDemosaicing.

    import orvdemosaicing as orv
    rgb = orv.demosaic(raw, "RGGB", bits=12, method="edge-aware")     # (H, W) uint16 -> (H, W, 3) uint16

Bayer mosaics by :func:`demosaic`, TrueSense ones (half of the sites panchromatic) by :func:`truesense`, the frames of a
camera by a :class:`Demosaicer`. :func:`from_pfnc`, :func:`unpack` and :func:`pattern_after` make of a camera's formats,
bytes and crops what these take; :func:`parameters` lists the settings.

The shared libraries are those in ORV_LIBRARY (a folder, or a file in it), else beside this package, else the loader's.
"""

from ._conversion import Demosaicer, demosaic, truesense
from ._formats import Format, from_pfnc, pattern_after, unpack
from ._library import OrvError
from ._parameters import Parameter, parameters

__version__ = "1.0.0"
__all__ = [
    "Demosaicer",
    "Format",
    "OrvError",
    "Parameter",
    "demosaic",
    "from_pfnc",
    "parameters",
    "pattern_after",
    "truesense",
    "unpack",
]
