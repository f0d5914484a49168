#!/usr/bin/python3
"""The feature-tracking alternative to gme, timed per frame pair on this machine.

Reads YUV4MPEG2 files (luminance only is used; `vidstool export SEQ OUT.y4m` makes one
from a sequence) and, for every pair of consecutive frames, estimates an affine camera
motion the usual way: goodFeaturesToTrack on the previous frame, pyramidal Lucas-Kanade
into the current one, estimateAffine2D with RANSAC. OpenCV runs on one thread. Prints
the median processor time per pair in milliseconds (the same clock as gme's printed
times) and the number of pairs.

With --build DIR (a gme build directory) and no file, it renders the demo scene (30
frames) at 352x288, 720x576 and 1920x1080 with DIR's gme_demo, exports it with vidstool,
and times both on the same frames: gme's median printed Estimator + Compensator time per
pair and the alternative's, with their ratio. Both run --rounds times, alternating, each
run after a second's pause (on a shared machine a run can slow the one right after it),
and the fastest run of each counts (a shared machine only ever slows a run down); the
range of the ratios of the single rounds is printed too.

Not part of the test suite: it needs Debian's python3-opencv. Run it with /usr/bin/python3.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

import cv2
import numpy as np


def read_y4m_luma(path):
    """Yields the luminance planes of a YUV4MPEG2 file as uint8 arrays."""
    with open(path, "rb") as f:
        header = f.readline().split()
        if not header or header[0] != b"YUV4MPEG2":
            raise ValueError(f"{path}: not a YUV4MPEG2 file")
        fields = {t[:1]: t[1:] for t in header[1:]}
        width, height = int(fields[b"W"]), int(fields[b"H"])
        colour = fields.get(b"C", b"420").decode()
        chroma = {"444": 2 * width * height, "422": 2 * ((width + 1) // 2) * height,
                  "mono": 0}.get(colour.split("p")[0],
                                 2 * ((width + 1) // 2) * ((height + 1) // 2))
        while True:
            line = f.readline()
            if not line:
                return
            luma = f.read(width * height)
            if len(luma) < width * height:
                return
            f.seek(chroma, 1)
            yield np.frombuffer(luma, np.uint8).reshape(height, width)


def estimate(prev, cur):
    """One pair: corners, optical flow, robust affine fit (2 x 3 matrix or None)."""
    corners = cv2.goodFeaturesToTrack(prev, maxCorners=500, qualityLevel=0.01, minDistance=8,
                                      blockSize=3)
    if corners is None or len(corners) < 3:
        return None
    moved, status, _ = cv2.calcOpticalFlowPyrLK(prev, cur, corners, None, winSize=(21, 21),
                                                maxLevel=3)
    ok = status.ravel() == 1
    if ok.sum() < 3:
        return None
    matrix, _ = cv2.estimateAffine2D(corners[ok], moved[ok], method=cv2.RANSAC,
                                     ransacReprojThreshold=1.0)
    return matrix


def time_pairs(path, repeat):
    """Median processor seconds per pair of the alternative, the frame size, the pairs."""
    frames = list(read_y4m_luma(path))
    if len(frames) < 2:
        raise ValueError(f"{path}: fewer than two frames")
    times = []
    for prev, cur in zip(frames, frames[1:]):
        best = float("inf")
        for _ in range(repeat):
            start = time.process_time()
            estimate(prev, cur)
            best = min(best, time.process_time() - start)
        times.append(best)
    h, w = frames[0].shape
    return statistics.median(times), (w, h), len(times)


def gme_pair_median(build, seq, workdir):
    """Median of gme's printed Estimator + Compensator seconds per pair on sequence seq."""
    out = subprocess.run([os.path.join(build, "driver", "gme"), seq, "output"], cwd=workdir,
                         check=True, capture_output=True, text=True).stdout
    times, compensator = [], 0.0
    for line in out.splitlines():
        if line.startswith("Compensator time"):
            compensator = float(line.split()[2])
        elif line.startswith("Estimator time"):
            times.append(compensator + float(line.split()[2]))
    return statistics.median(times)


def side_by_side(build, repeat, rounds):
    build = os.path.abspath(build)
    print(f"demo scene, 30 frames, one thread, median processor time per pair; {rounds} "
          "alternating rounds, the fastest round of each:")
    for size in ("352x288", "720x576", "1920x1080"):
        with tempfile.TemporaryDirectory() as work:
            subprocess.run([os.path.join(build, "tools", "demo", "gme_demo"), "render", work, "30",
                            size], check=True, capture_output=True)
            y4m = os.path.join(work, "input.y4m")
            subprocess.run([os.path.join(build, "tools", "vidstool", "vidstool"), "export",
                            os.path.join(work, "input"), y4m], check=True, capture_output=True)
            gme, alternative = [], []
            for _ in range(rounds):
                time.sleep(1)
                gme.append(gme_pair_median(build, os.path.join(work, "input"), work))
                time.sleep(1)
                alternative.append(time_pairs(y4m, repeat)[0])
        ratios = [a / g for a, g in zip(alternative, gme)]
        print(f"{size:>9}  gme {min(gme) * 1e3:7.2f} ms  feature tracking + RANSAC "
              f"{min(alternative) * 1e3:7.2f} ms  gme is {min(alternative) / min(gme):.2f}x as fast "
              f"(rounds {min(ratios):.2f}x to {max(ratios):.2f}x)")


def main(argv=None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("y4m", nargs="*", help="input YUV4MPEG2 files")
    parser.add_argument("--build", help="a gme build directory: time gme and the alternative "
                                        "side by side on the rendered demo scene")
    parser.add_argument("--repeat", type=int, default=1,
                        help="time every pair this many times and keep the fastest")
    parser.add_argument("--rounds", type=int, default=5,
                        help="with --build: run gme and the alternative this many times, "
                             "alternating, and keep the fastest run of each")
    args = parser.parse_args(argv)
    cv2.setNumThreads(1)
    if not args.y4m:
        if not args.build:
            parser.error("give YUV4MPEG2 files or --build DIR")
        side_by_side(args.build, args.repeat, args.rounds)
        return 0
    for path in args.y4m:
        try:
            median, (w, h), pairs = time_pairs(path, args.repeat)
        except ValueError as e:
            print(e, file=sys.stderr)
            return 1
        print(f"{w}x{h}: feature tracking + RANSAC median {median * 1e3:.2f} ms/pair "
              f"over {pairs} pairs")
    return 0


if __name__ == "__main__":
    sys.exit(main())
