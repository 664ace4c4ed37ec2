#!/usr/bin/env python3
"""Frames per second of threads in a process, several cameras and several processes, on this machine.

    scaling.py [--seconds S] [--rounds N]

Prints a table of ratios to one camera on one thread, and that one's frames per second. Each figure is the best of the
rounds, which alternate between all arrangements. ORV_LIBRARY names the folder of the libraries.
"""

from __future__ import annotations

import argparse
import os
import signal
import subprocess
import sys
import threading
import time

PACKAGE = os.path.join(os.path.dirname(__file__), os.pardir, "python")
HEIGHT, WIDTH = 1944, 2592
CASES = {  # settings of a Demosaicer
    "Bayer edge-aware": {"pattern": "RGGB", "method": "edge-aware"},
    "Bayer adaptive": {"pattern": "RGGB", "method": "adaptive"},
    "TrueSense fast": {"grid": 0, "method": "fast"},
    "TrueSense parallel": {"grid": 0, "method": "parallel"},
}
PROCESSORS = sorted(os.sched_getaffinity(0))
ALL = len(PROCESSORS)
# Name, processes, cameras of each, `threads_num`, OMP_WAIT_POLICY. A process of one camera on one thread stays on one
# processor, so that OpenCV too takes one thread for the interpolations that it hands out.
ARRANGEMENTS = (
    ("one camera, one thread", 1, 1, 1, "passive"),
    ("one camera, a thread for each processor", 1, 1, ALL, "passive"),
    ("a camera for each processor, one thread each", 1, ALL, 1, "passive"),
    ("a camera for each processor, a thread for each processor", 1, ALL, ALL, "passive"),
    ("the same, OMP_WAIT_POLICY=active", 1, ALL, ALL, "active"),
    ("a process for each processor, one camera on one thread each", ALL, 1, 1, "passive"),
)


def serve(case: str, cameras: int, threads: int, seconds: float) -> None:
    """One process: converts when told to on standard input, and prints how many frames."""
    import numpy as np

    import orvdemosaicing as orv

    settings = dict(CASES[case], bits=12)
    if "grid" in settings:
        settings["threads_num"] = threads
    raw = np.random.default_rng(1).integers(0, 4096, (HEIGHT, WIDTH), np.uint16)
    streams = [(orv.Demosaicer(**settings), np.empty((HEIGHT, WIDTH, 3), np.uint16)) for _ in range(cameras)]
    counts = [0] * cameras

    def run(camera: int, end: float) -> None:
        convert, out = streams[camera]
        while time.perf_counter() < end:
            convert(raw, out)
            counts[camera] += 1

    for convert, out in streams:
        convert(raw, out)
    print("ready", flush=True)
    for _ in sys.stdin:
        counts[:] = [0] * cameras
        start = time.perf_counter()
        workers = [threading.Thread(target=run, args=(camera, start + seconds)) for camera in range(cameras)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        print(sum(counts) / (time.perf_counter() - start), flush=True)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=1.0, help="of each measurement (%(default)s)")
    parser.add_argument("--rounds", type=int, default=5, help="measurements of each arrangement (%(default)s)")
    parser.add_argument("--serve", nargs=3, metavar=("CASE", "CAMERAS", "THREADS"), help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.serve:
        serve(options.serve[0], int(options.serve[1]), int(options.serve[2]), options.seconds)
        return
    for case in CASES:
        best = measure(case, options.seconds, options.rounds)
        print(f"{case}: {best[0]:.1f} frames per second")
        for (name, *_), rate in zip(ARRANGEMENTS, best):
            print(f"    {rate / best[0]:5.2f}  {name}")


def measure(case: str, seconds: float, rounds: int) -> list[float]:
    """Frames per second of each arrangement."""
    groups = []
    for _, processes, cameras, threads, policy in ARRANGEMENTS:
        environment = {**os.environ, "PYTHONPATH": PACKAGE, "OMP_WAIT_POLICY": policy, "OPENBLAS_NUM_THREADS": "1"}
        command = [sys.executable, __file__, "--seconds", str(seconds), "--serve", case, str(cameras), str(threads)]
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "text": True, "env": environment}
        groups.append([])
        for processor in PROCESSORS[:processes]:
            os.sched_setaffinity(0, {processor} if cameras * threads == 1 else PROCESSORS)  # its child inherits it
            groups[-1].append(subprocess.Popen(command, **pipes))
    best = [0.0] * len(groups)
    for process in sum(groups, []):
        process.stdout.readline()
        process.send_signal(signal.SIGSTOP)  # threads of an active team spin while it has nothing to do
    for _ in range(rounds):
        for index, group in enumerate(groups):
            for process in group:
                process.send_signal(signal.SIGCONT)
                print("go", file=process.stdin, flush=True)
            best[index] = max(best[index], sum(float(process.stdout.readline()) for process in group))
            for process in group:
                process.send_signal(signal.SIGSTOP)
    for process in sum(groups, []):
        process.kill()
    return best


if __name__ == "__main__":
    main()
