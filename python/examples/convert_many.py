#!/usr/bin/env python3
"""Converts a folder or globs of raw frames to colour pictures, on all processors of this machine or on a cluster.

    convert_many.py frames/ -o pictures --format BayerRG12 --size 1920x1080
    convert_many.py 'frames/*.raw' -o /shared/pictures --format BayerRG12p --size 1920x1080 --scheduler tcp://host:8786

Frames are headerless, in a PFNC format. Without --scheduler Dask starts single-threaded workers here, one for each
processor. With it, the workers must see the same files under the same paths and have orvdemosaicing installed.

A frame that fails is reported with its cause and does not stop the others; the exit code is 1 then. A picture (PPM, 8
or 16 bits) takes its name only when it is whole.
"""

from __future__ import annotations

import argparse
import glob
import os
import sys
import time
from pathlib import Path
from typing import Any, Optional

# Frames are converted side by side: threads of one that waited by spinning would hold up the others. Workers inherit it.
WAIT_POLICY = ("OMP_WAIT_POLICY", "passive")


def convert(source: str, target: str, form: Any, width: int, height: int, method: Optional[str]) -> str:
    """Converts one file, on a worker. Returns why it failed, or ""."""
    import orvdemosaicing as orv

    try:
        raw = orv.unpack(Path(source).read_bytes(), width, height, form.packing, form.bits)
        if form.grid is None:
            colour = orv.demosaic(raw, form.pattern, form.bits, method or "bilinear")
        else:
            colour = orv.truesense(raw, form.grid, form.bits, method or "fast", threads_num=1)
        write_ppm(Path(target), colour, 2**form.bits - 1)
    except Exception as error:
        return f"{type(error).__name__}: {error}"
    return ""


def write_ppm(target: Path, colour: Any, top: int) -> None:
    # Under a name that no other worker takes, in the folder of the target: taking its name is one step then.
    part = Path(f"{target}.{os.uname().nodename}-{os.getpid()}.part")
    try:
        with part.open("wb") as file:
            file.write(f"P6\n{colour.shape[1]} {colour.shape[0]}\n{top}\n".encode())
            file.write(colour.astype(colour.dtype.newbyteorder(">"), copy=False).data)
        part.replace(target)
    finally:
        part.unlink(missing_ok=True)


def frames_of(inputs: list[str]) -> list[Path]:
    """The files that folders, globs and names stand for."""
    frames: dict[Path, None] = {}
    for text in inputs:
        found = Path(text).iterdir() if os.path.isdir(text) else map(Path, glob.glob(text))
        files = sorted(path for path in found if path.is_file())
        if not files:
            raise ValueError(f"no file matches {text}")
        frames.update(dict.fromkeys(files))
    return list(frames)


def targets_of(frames: list[Path], folder: Path) -> dict[Path, str]:
    """The picture of each frame; no two share one."""
    owners: dict[str, Path] = {}
    for frame in frames:
        target = str(folder.resolve() / f"{frame.stem}.ppm")
        if owners.setdefault(target, frame) != frame:
            raise ValueError(f"{owners[target]} and {frame} would both be written to {target}")
    return {frame: target for target, frame in owners.items()}


def parse(arguments: Optional[list[str]]) -> argparse.Namespace:
    summary, _, details = (__doc__ or "").partition("\n")
    parser = argparse.ArgumentParser(
        description=summary, epilog=details, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("inputs", nargs="+", metavar="INPUT", help="folder, glob or file")
    parser.add_argument("-o", "--output", required=True, type=Path, metavar="FOLDER", help="where the pictures go")
    parser.add_argument("--format", required=True, help="PFNC name or number: BayerRG8, BayerGB12p, 0x010C0059")
    parser.add_argument("--size", required=True, metavar="WxH", help="of every frame, in pixels")
    parser.add_argument("--method", help="of demosaic (bilinear) or truesense (fast)")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="a running Dask scheduler, as tcp://host:8786")
    parser.add_argument(
        "--workers", type=int, default=os.cpu_count(), help="of the cluster on this machine (%(default)s)"
    )
    return parser.parse_args(arguments)


def report(done: int, of: int, failed: int, seconds: float) -> None:
    """The state of things on standard error: a line that is written over on a terminal, the last one elsewhere."""
    if sys.stderr.isatty() or done == of:
        bar = "#" * (40 * done // of)
        end = "\n" if done == of else ""
        print(
            f"\r[{bar:40}] {done} of {of}, {done / seconds:.1f} per second, {failed} failed", end=end, file=sys.stderr
        )


def main(arguments: Optional[list[str]] = None) -> int:
    options = parse(arguments)
    try:
        from distributed import Client, LocalCluster, as_completed
    except ImportError:
        sys.exit("convert_many.py: Dask is missing: install distributed (on Debian: python3-distributed)")
    import orvdemosaicing as orv

    try:
        form = orv.from_pfnc(options.format)
        width, height = (int(number) for number in options.size.split("x"))
        targets = targets_of(frames_of(options.inputs), options.output)
        options.output.mkdir(parents=True, exist_ok=True)
    except (OSError, ValueError) as error:
        sys.exit(f"convert_many.py: {error}")

    cluster = options.scheduler
    if cluster is None:
        os.environ.setdefault(*WAIT_POLICY)
        cluster = LocalCluster(n_workers=options.workers, threads_per_worker=1, dashboard_address=None)
    try:
        client = Client(cluster, timeout=20)
    except OSError as error:
        sys.exit(f"convert_many.py: no Dask scheduler answers at {cluster}: {error}")
    failed = 0
    with client:
        start = time.perf_counter()
        jobs = {
            client.submit(convert, str(frame.resolve()), target, form, width, height, options.method): frame
            for frame, target in targets.items()
        }
        for done, job in enumerate(as_completed(jobs), 1):
            # A worker that ends while it converts, for want of memory say, leaves an exception.
            cause = job.result() if job.status == "finished" else str(job.exception())
            failed += cause != ""
            print(f"{jobs[job]}: failed: {cause}" if cause else f"{jobs[job]} -> {targets[jobs[job]]}")
            report(done, len(jobs), failed, time.perf_counter() - start)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
