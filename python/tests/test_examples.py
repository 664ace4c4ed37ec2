"""The example programs as their users run them."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import orvdemosaicing as orv

EXAMPLES = Path(__file__).parent.parent / "examples"


def run(example: str, *arguments: object) -> subprocess.CompletedProcess[str]:
    environment = {**os.environ, "PYTHONPATH": os.pathsep.join(sys.path)}
    command = [sys.executable, EXAMPLES / example, *map(str, arguments)]
    return subprocess.run(command, env=environment, capture_output=True, text=True, timeout=120)


def ppm(picture: np.ndarray, top: int) -> bytes:
    return b"P6\n%d %d\n%d\n" % (*picture.shape[1::-1], top) + picture.astype(f">u{picture.itemsize}").tobytes()


def test_demosaic(tmp_path: Path) -> None:
    raw = np.random.default_rng(2).integers(0, 4096, (32, 48), np.uint16)
    raw.tofile(tmp_path / "frame.raw")
    assert run("demosaic.py", tmp_path / "frame.raw", 48, 32, tmp_path / "picture.ppm").returncode == 0
    assert (tmp_path / "picture.ppm").read_bytes() == ppm(orv.demosaic(raw, "RGGB", 12, "edge-aware"), 4095)
    assert "has 3168" in run("demosaic.py", tmp_path / "frame.raw", 48, 33, tmp_path / "no.ppm").stderr


def test_convert_many_reports_a_bad_frame_and_converts_the_others(tmp_path: Path) -> None:
    pytest.importorskip("distributed", reason="Dask is missing (on Debian: python3-distributed)")
    raw = np.random.default_rng(3).integers(0, 256, (5, 32, 48), np.uint8)
    for number, frame in enumerate(raw):
        (tmp_path / f"{number}.raw").write_bytes(frame.tobytes()[: 100 if number == 3 else None])
    pictures = tmp_path / "pictures"
    settings = ("-o", pictures, "--format", "BayerBG8", "--size", "48x32", "--method", "adaptive", "--workers", 2)
    result = run("convert_many.py", tmp_path / "*.raw", *settings)
    assert result.returncode == 1
    assert "3.raw: failed: ValueError: data has 100 bytes" in result.stdout and "5 of 5" in result.stderr
    assert sorted(path.name for path in pictures.iterdir()) == ["0.ppm", "1.ppm", "2.ppm", "4.ppm"]
    for number in (0, 1, 2, 4):
        expected = ppm(orv.demosaic(raw[number], "BGGR", method="adaptive"), 255)
        assert (pictures / f"{number}.ppm").read_bytes() == expected
    shutil.rmtree(pictures)
    result = run("convert_many.py", tmp_path / "*.raw", tmp_path / "none", *settings)
    assert "no file matches" in result.stderr and not pictures.exists()
