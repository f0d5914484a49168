#!/usr/bin/python3
"""Measures what a Python push costs beyond the estimate itself.

Reads the luminance of a vids sequence, then times, REPEAT times each, gme.estimate on all
its frames (one call: the C++ push loop alone) and a Python loop of
gme.SequenceEstimator.push over the same frames (a call per frame, and a result object
with the compensated frame and the object mask as arrays). Prints the median of either
per pair and their difference, the cost of the Python push. Run it on an idle machine:
    PYTHONPATH=build/python python/measure_push.py out/demo/input
"""
import argparse
import statistics
import time

import gme


def seconds(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def push_all(frames):
    estimator = gme.SequenceEstimator()
    for frame in frames:
        estimator.push(frame)


def main(argv=None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("sequence", help="a vids sequence of at least two frames")
    parser.add_argument("--repeat", type=int, default=15)
    args = parser.parse_args(argv)
    frames = gme.read_vids(args.sequence)
    pairs = len(frames) - 1
    estimate, push = [], []
    for _ in range(args.repeat):   # interleaved, so that drifts of the machine hit both
        estimate.append(seconds(lambda: gme.estimate(frames)) / pairs)
        push.append(seconds(lambda: push_all(frames)) / pairs)
    e, p = statistics.median(estimate), statistics.median(push)
    print(f"{len(frames)} frames of {frames.shape[2]}x{frames.shape[1]}, {args.repeat} runs, "
          f"median per pair: estimate {e * 1e3:.3f} ms, push {p * 1e3:.3f} ms, "
          f"Python push beyond the estimate {(p - e) * 1e6:.1f} us ({(p - e) / e:.2%})")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
