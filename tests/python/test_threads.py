"""Estimators on two threads: each gives what it gives alone, and Python runs on while
they estimate (the interpreter lock is released)."""
import threading
import time

import numpy as np
import pytest

import gme


def push_all(frames):
    estimator = gme.SequenceEstimator()
    return [estimator.push(frame) for frame in frames][1:]


def same(a, b):
    return repr(a) == repr(b) and np.array_equal(a.compensated, b.compensated) and \
        np.array_equal(a.object_mask, b.object_mask)


def test_two_threads_give_what_each_gives_alone(scene):
    inputs = [scene, scene[::-1]]
    alone = [push_all(frames) for frames in inputs]
    threaded = [None, None]

    def run(k):
        threaded[k] = push_all(inputs[k])

    threads = [threading.Thread(target=run, args=(k,)) for k in range(2)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for k in range(2):
        assert len(threaded[k]) == len(alone[k])
        assert all(same(a, b) for a, b in zip(threaded[k], alone[k])), f"thread {k}"


@pytest.mark.parametrize("call", ["estimate", "push"])
def test_python_runs_while_another_thread_estimates(scene, call):
    frames = np.tile(scene[:3], (1, 6, 6))   # 960 x 768: a tenth of a second or more a pair
    estimator = gme.SequenceEstimator()
    estimator.push(frames[0])
    go, seconds = threading.Event(), []

    def run():
        go.wait()
        start = time.perf_counter()
        gme.estimate(frames) if call == "estimate" else estimator.push(frames[1])
        seconds.append(time.perf_counter() - start)

    worker = threading.Thread(target=run)
    worker.start()
    longest_pause, last = 0.0, time.perf_counter()
    go.set()
    while True:   # also once after the worker ends, so that its whole call is watched
        now = time.perf_counter()
        longest_pause, last = max(longest_pause, now - last), now
        if not worker.is_alive():
            break
    worker.join()
    # Holding the lock would stop this loop for the whole call.
    assert longest_pause < seconds[0] / 2
