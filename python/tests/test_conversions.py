"""Pictures: those of orv-convert, whatever way a frame lies in memory and whichever thread or process converts it."""

import multiprocessing
import shutil
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import orvdemosaicing as orv

TOOL = shutil.which("orv-convert")
BAYER = ("bilinear", "adaptive", "edge-aware")  # by algorithm number
TRUESENSE = ("fast", "simple", "bayer-like", "parallel", "reference")


def frame(bits: int = 12, shape: tuple[int, int] = (46, 63)) -> np.ndarray:
    return np.random.default_rng(bits).integers(0, 2**bits, shape, np.uint8 if bits == 8 else np.uint16)


def by_tool(folder: Path, raw: np.ndarray, word: str, algorithm: int, *options: str) -> np.ndarray:
    raw.tofile(folder / "frame.raw")
    size = f"{raw.shape[1]}x{raw.shape[0]}"
    command = [TOOL, "frame.raw", "-o", "picture.ppm", "--word", word, "--size", size, "--alg", str(algorithm)]
    subprocess.run([*command, *options], cwd=folder, check=True, capture_output=True)
    _, _, top, samples = (folder / "picture.ppm").read_bytes().split(b"\n", 3)
    return np.frombuffer(samples, ">u2" if int(top) > 255 else "u1").reshape(*raw.shape, 3)


tool = pytest.mark.skipif(TOOL is None, reason="orv-convert is not on the PATH")


@tool
@pytest.mark.parametrize("bits", [8, 10, 12, 14, 16])
def test_bayer_pictures_are_the_tools(tmp_path: Path, bits: int) -> None:
    raw = frame(bits)
    for algorithm, method in enumerate(BAYER):
        expected = by_tool(tmp_path, raw, f"BayerGB{bits}", algorithm, "--raw-values")
        np.testing.assert_array_equal(orv.demosaic(raw, "GBRG", bits, method), expected)
        np.testing.assert_array_equal(orv.Demosaicer("GBRG", bits, method, "BGR")(raw)[..., ::-1], expected)


@tool
@pytest.mark.parametrize("bits", [8, 10, 12, 14])
def test_truesense_pictures_are_the_tools(tmp_path: Path, bits: int) -> None:
    raw = frame(bits)
    for algorithm, method in enumerate(TRUESENSE):
        for dtype in (np.uint8, raw.dtype):
            if (bits, method, dtype) == (10, "reference", np.uint8):
                continue  # no such conversion
            depth = ["--bits=8"] if dtype == np.uint8 else ["--raw-values"]
            word = f"TrueSense{bits}g6"
            expected = by_tool(tmp_path, raw, word, algorithm, "--set=redGain=1.5", "--threads=1", *depth)
            picture = orv.truesense(raw, 6, bits, method, dtype, redGain=1.5)
            np.testing.assert_array_equal(picture, expected)
            convert = orv.Demosaicer(grid=6, bits=bits, method=method, dtype=dtype, threads_num=1)
            convert.parameters["redGain"] = 1.5
            np.testing.assert_array_equal(convert(raw), expected)


VIEWS = {
    "upside down": lambda raw: raw[::-1],
    "reversed columns": lambda raw: raw[:, ::-1],
    "every other sample": lambda raw: raw[::2, ::2],
    "transposed": lambda raw: raw.T,
    "crop of odd width": lambda raw: raw[3:, 2:59],
    "one row again and again": lambda raw: np.broadcast_to(raw[0], raw.shape),
    "odd address": lambda raw: np.frombuffer(b"x" + raw.tobytes(), raw.dtype, raw.size, 1).reshape(raw.shape),
}


@pytest.mark.parametrize("name", VIEWS)
def test_views_give_the_pictures_of_their_copies(name: str) -> None:
    for bits in (8, 12):
        view = VIEWS[name](frame(bits))
        for method in BAYER:
            expected = orv.demosaic(view.copy(), "RGGB", bits, method)
            np.testing.assert_array_equal(orv.demosaic(view, "RGGB", bits, method), expected)
            padded = np.full((view.shape[0], view.shape[1] + 2, 3), 77, view.dtype)
            assert orv.demosaic(view, "RGGB", bits, method, out=padded[:, 1:-1]).base is padded
            np.testing.assert_array_equal(padded[:, 1:-1], expected)
            assert (padded[:, [0, -1]] == 77).all()
        expected = orv.truesense(view.copy(), 5, bits)
        np.testing.assert_array_equal(orv.truesense(view, 5, bits), expected)


def test_frames_stand_alone_unless_sums_are_carried() -> None:
    first, second = frame(14), frame(16) >> 2
    alone = orv.demosaic(second, "BGGR", 14, "adaptive")
    pictures = []
    for carry in (False, True):
        with orv.Demosaicer("BGGR", 14, "adaptive", carry=carry) as convert:
            convert(first)
            pictures.append(convert(second))
            np.testing.assert_array_equal(convert(second[:, :20]), orv.demosaic(second[:, :20], "BGGR", 14, "adaptive"))
            convert.reset()
            np.testing.assert_array_equal(convert(second), alone)
    np.testing.assert_array_equal(pictures[0], alone)
    assert (pictures[1] != alone).any()


def test_threads_share_or_own_while_the_interpreter_runs_on() -> None:
    raw = frame(12, (900, 1200))
    expected = orv.demosaic(raw, "RGGB", 12, "adaptive")
    shared = orv.Demosaicer("RGGB", 12, "adaptive")
    with ThreadPoolExecutor(4) as pool:
        jobs = [pool.submit(shared, raw) for _ in range(6)]
        jobs += [pool.submit(orv.demosaic, raw, "RGGB", 12, "adaptive") for _ in range(6)]
        for job in jobs:
            np.testing.assert_array_equal(job.result(), expected)
        # The longest pause of a thread that only counts, as a share of a conversion that runs meanwhile.
        pauses = []
        for _ in range(5):
            times = [time.perf_counter()]
            conversion = pool.submit(shared, raw)
            while not conversion.done():
                times.append(time.perf_counter())
            times.append(time.perf_counter())
            pauses.append(np.diff(times).max() / (times[-1] - times[0]))
    assert min(pauses) < 0.25


def converted(job: tuple[orv.Demosaicer, np.ndarray]) -> np.ndarray:
    return job[0](job[1])


@pytest.mark.parametrize("start", ["fork", "spawn"])
def test_worker_processes_convert(start: str) -> None:
    raw = frame(12, (400, 600))
    makers = [orv.Demosaicer("RGGB", 12, method) for method in BAYER]
    makers += [orv.Demosaicer(grid=9, bits=12, method=method, redGain=1.2) for method in TRUESENSE]
    here = [make(raw) for make in makers]  # the threads of these do not exist in a forked process
    with multiprocessing.get_context(start).Pool(2) as pool:
        there = pool.map_async(converted, [(make, raw) for make in makers]).get(120)
    for ours, theirs in zip(here, there):
        np.testing.assert_array_equal(ours, theirs)
