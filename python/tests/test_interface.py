"""Formats, parameters, and what is said of arguments that do not fit."""

import os
import subprocess
import sys

import numpy as np
import pytest

import orvdemosaicing as orv

RAW = np.arange(16 * 16, dtype=np.uint16).reshape(16, 16)
OUT = np.full((16, 16, 3), 7, np.uint16)
READ_ONLY = OUT.copy()
READ_ONLY.flags.writeable = False


@pytest.mark.parametrize(
    ("call", "error", "says"),
    [
        (lambda: orv.demosaic(RAW.astype(float), "RGGB", 12, out=OUT), ValueError, r"float64.*astype\(np.uint16\)"),
        (lambda: orv.demosaic(RAW.astype(">u2"), "RGGB", 12, out=OUT), ValueError, ">u2"),
        (lambda: orv.demosaic(RAW, "RGGB", out=OUT), ValueError, "bits=12"),
        (lambda: orv.demosaic(RAW, "RGGB", 11, out=OUT), ValueError, "11, not one of 8, 10"),
        (lambda: orv.demosaic(RAW.astype("u1"), "RGGB", 12, out=OUT), ValueError, "uint8 and bits is 12"),
        (lambda: orv.demosaic(RAW, "RGBG", 12, out=OUT), ValueError, "'RGBG', not one of 'GRBG'"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, "linear", out=OUT), ValueError, "'edge-aware'"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, order="RGBA", out=OUT), ValueError, "'RGB', 'BGR'"),
        (lambda: orv.demosaic(OUT, "RGGB", 12), ValueError, r"\(16, 16, 3\).*\(height, width\)"),
        (lambda: orv.demosaic(RAW[:0], "RGGB", 12), ValueError, r"\(0, 16\)"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, out=OUT[:-1]), ValueError, r"needs uint16 of shape \(16, 16, 3\)"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, out=OUT[..., ::-1]), ValueError, "without gaps"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, out=OUT[::-1]), ValueError, "ascending"),
        (lambda: orv.demosaic(RAW, "RGGB", 12, out=READ_ONLY), ValueError, "writeable"),
        (lambda: orv.demosaic(OUT[..., 0], "RGGB", 12, out=OUT), ValueError, "shares memory"),
        (lambda: orv.truesense(RAW, 16, 12), ValueError, "grid is 16"),
        (lambda: orv.truesense(RAW, 0, 16), ValueError, "bits is 16, not one of 8, 10, 12, 14"),
        (lambda: orv.truesense(RAW, 0, 12, dtype=np.float32), ValueError, "also uint8"),
        (lambda: orv.truesense(RAW, 0, 10, "reference", np.uint8), ValueError, "dtype=np.uint16"),
        (lambda: orv.truesense(RAW, 0, 12, redgain=1), TypeError, "did you mean redGain"),
        (lambda: orv.truesense(RAW, 0, 12, darkFloor=5000), orv.OrvError, "0 to 4096.*0x8001000C"),
        (lambda: orv.truesense(RAW, 0, 12, TrueSenseAlgType=5), orv.OrvError, "0x80060007 .bad argument"),
        (lambda: orv.Demosaicer(bits=12), ValueError, "either the pattern"),
        (lambda: orv.Demosaicer("RGGB").parameters["gain"], KeyError, "no Bayer parameter"),
        (lambda: orv.unpack(bytes(10), 4, 2, "12p"), ValueError, "10 bytes.*has 12"),
        (lambda: orv.unpack(bytes(16), 4, 2, "12p", stride=5), ValueError, "a row has 6"),
        (lambda: orv.unpack(bytes(12), 4, 2, "12q"), ValueError, "12Packed"),
        (lambda: orv.unpack(bytes(12), 4, 2, None), ValueError, "bits is None"),
        (lambda: orv.from_pfnc("Mono8"), ValueError, "no Bayer or TrueSense format"),
        (lambda: orv.pattern_after(0, fliplr=True, shape=(4, 4)), ValueError, "horMirrored"),
        (lambda: orv.pattern_after("RGGB", flipud=True), ValueError, "shape is None"),
        (lambda: orv.pattern_after("RGGB", -1), ValueError, r"\(-1, 0\)"),
    ],
)
def test_arguments_that_do_not_fit(call, error, says) -> None:
    with pytest.raises(error, match=says):
        call()
    assert (OUT == 7).all()


def test_parameters_read_back_and_live_until_the_component_ends() -> None:
    known = orv.parameters()
    assert len(known) == 66 and known["redGain"].methods == ("simple", "parallel", "reference")
    convert = orv.Demosaicer(grid=1, bits=12, method="parallel", redGain=2)
    assert convert.method == "parallel"
    changed = {name for name, value in convert.parameters.items() if value != known[name].default}
    assert changed == {"TrueSenseAlgType", "redGain"}
    convert.parameters["TrueSenseAlgType"] = 1
    assert convert.method == "simple"
    convert.close()
    for use in (lambda: convert(RAW), convert.reset, lambda: convert.parameters["redGain"]):
        with pytest.raises(ValueError, match="closed"):
            use()


def test_formats_and_packed_samples() -> None:
    assert orv.from_pfnc("BayerRG12p") == orv.from_pfnc(0x010C0059) == ("BayerRG12p", "RGGB", None, 12, "12p")
    assert orv.from_pfnc("SCF1WGWR10") == ("SCF1WGWR10", None, 8, 10, None)
    three = bytes([0xAB, 0xCD, 0xEF])
    assert orv.unpack(three, 2, 1, "12p").tolist() == [[0xDAB, 0xEFC]]
    assert orv.unpack(three * 2, 1, 2, "RAW12", stride=3).tolist() == [[0xABF], [0xABF]]
    assert orv.unpack(three * 3, 3, 2, "12p").tolist() == [[0xDAB, 0xEFC, 0xDAB], [0xEFC, 0xDAB, 0xEFC]]
    plain = orv.unpack(bytearray(three * 2), 2, 1, None, bits=12, stride=6)
    assert plain.tolist() == [[0xCDAB, 0xABEF]] and not plain.flags.owndata


def test_patterns_after_crops_and_mirrors() -> None:
    raw = np.random.default_rng(1).integers(0, 256, (21, 30), np.uint8)
    whole = orv.demosaic(raw, "GRBG")
    for x, y, across, down in ((1, 0, False, False), (0, 1, True, False), (1, 1, False, True), (3, 2, True, True)):
        part = np.s_[:: -1 if down else 1, :: -1 if across else 1]
        pattern = orv.pattern_after("GRBG", x, y, fliplr=across, flipud=down, shape=raw[y:, x:].shape)
        picture = orv.demosaic(raw[y:, x:][part], pattern)
        np.testing.assert_array_equal(picture[2:-2, 2:-2], whole[y:, x:][part][2:-2, 2:-2])
    assert orv.pattern_after(2, 3, 5) == 5


def test_a_library_that_is_not_there() -> None:
    run = [sys.executable, "-c", "import orvdemosaicing"]
    environment = {**os.environ, "ORV_LIBRARY": "/nowhere", "PYTHONPATH": os.pathsep.join(sys.path)}
    result = subprocess.run(run, env=environment, capture_output=True, text=True)
    assert result.returncode == 1 and "/nowhere" in result.stderr and "set ORV_LIBRARY" in result.stderr
