"""Every refused argument of the module raises TypeError, ValueError or OSError with a
message that names it, and a refused frame leaves the estimator as it was."""
import re

import numpy as np
import pytest

import gme

FRAMES = np.zeros((2, 32, 32), np.uint8)
FRAME = FRAMES[0]
IDENTITY = [0, 1, 0, 0, 0, 1]
# Four gigabytes of frame width without the memory: every sample is the same byte.
HUGE = np.lib.stride_tricks.as_strided(np.zeros(1, np.uint8), (2, 32, 2**31), (0, 0, 0))

CASES = {
    # Frames of estimate, push, compensate and write_vids.
    "float frames": (lambda: gme.estimate(FRAMES.astype(float)), TypeError, "uint8, not float64"),
    "int8 frames": (lambda: gme.estimate(FRAMES.view(np.int8)), TypeError, "int8"),
    "list frames": (lambda: gme.estimate(FRAMES.tolist()), TypeError, "uint8"),
    "no frames": (lambda: gme.estimate(None), TypeError, "uint8"),
    "one frame as frames": (lambda: gme.estimate(FRAME), ValueError, "(frames, height, width)"),
    "frames of frames": (lambda: gme.estimate(FRAMES[None]), ValueError, "(1, 2, 32, 32)"),
    "zero frames": (lambda: gme.estimate(FRAMES[:0]), ValueError, "empty"),
    "zero rows": (lambda: gme.estimate(FRAMES[:, :0]), ValueError, "empty"),
    "width beyond int": (lambda: gme.estimate(HUGE), ValueError, "2**31 - 1"),
    "a single frame": (lambda: gme.estimate(FRAMES[:1]), ValueError, "at least two"),
    "narrow frames": (lambda: gme.estimate(FRAMES[:, :, :31]), ValueError, "31x32"),
    "low frames": (lambda: gme.estimate(FRAMES[:, :31]), ValueError, "32x31"),
    "frames small for levels": (lambda: gme.estimate(FRAMES, levels=4), ValueError, "64x64"),
    "push of a stack": (lambda: gme.SequenceEstimator().push(FRAMES), ValueError, "(height, width)"),
    "push of floats": (lambda: gme.SequenceEstimator().push(FRAME * 1.0), TypeError, "float64"),
    "push of a small frame": (lambda: gme.SequenceEstimator().push(FRAME[:, 1:]), ValueError, "31x32"),
    "previous of floats": (lambda: gme.compensate(FRAME * 1.0, IDENTITY), TypeError, "float64"),
    "previous of no rows": (lambda: gme.compensate(FRAME[:0], IDENTITY), ValueError, "empty"),
    "current of bools": (lambda: gme.compensate(FRAME, IDENTITY, FRAME > 0), TypeError, "bool"),
    "current of another size": (lambda: gme.compensate(FRAME, IDENTITY, FRAME[1:]), ValueError,
                                "32x31"),
    "write of floats": (lambda: gme.write_vids("x", FRAMES * 1.0), TypeError, "float64"),
    "write of one frame": (lambda: gme.write_vids("x", FRAME), ValueError, "(frames, height"),
    # Models.
    "five params": (lambda: gme.compensate(FRAME, IDENTITY[:5]), ValueError, "(5,)"),
    "params of two rows": (lambda: gme.compensate(FRAME, np.ones((2, 3))), ValueError, "(2, 3)"),
    "params as text": (lambda: gme.compensate(FRAME, "abcdef"), TypeError, "real numbers"),
    "params of None": (lambda: gme.compensate(FRAME, [None] * 6), TypeError, "real numbers"),
    "complex params": (lambda: gme.compensate(FRAME, [1j] * 6), TypeError, "complex128"),
    "bool params": (lambda: gme.compensate(FRAME, [True] * 6), TypeError, "bool"),
    # Settings, in estimate and in the constructor.
    "no levels": (lambda: gme.estimate(FRAMES, levels=0), ValueError, "levels"),
    "nine levels": (lambda: gme.SequenceEstimator(levels=9), ValueError, "levels"),
    "levels as text": (lambda: gme.estimate(FRAMES, levels="3"), TypeError, "levels"),
    "settings by position": (lambda: gme.SequenceEstimator(3), TypeError, "levels"),
    "negative er1": (lambda: gme.estimate(FRAMES, er1=-0.1), ValueError, "er1"),
    "er2 not a number": (lambda: gme.SequenceEstimator(er2=float("nan")), ValueError, "er2"),
    "infinite er1": (lambda: gme.SequenceEstimator(er1=float("inf")), ValueError, "er1"),
    "no outliers": (lambda: gme.estimate(FRAMES, percent=0), ValueError, "percent"),
    "more outliers than pixels": (lambda: gme.SequenceEstimator(percent=1.5), ValueError,
                                  "percent"),
    # Sequence names and rates.
    "name of a number": (lambda: gme.read_vids(3), TypeError, "int"),
    "no name to write": (lambda: gme.write_vids(None, FRAMES), TypeError, "NoneType"),
    "empty name": (lambda: gme.read_vids(""), ValueError, "empty"),
    "name with a null": (lambda: gme.write_vids("a\0b", FRAMES), ValueError, "null"),
    "name too long": (lambda: gme.read_vids("n" * 200), OSError, "too long"),
    "no rate": (lambda: gme.write_vids("x", FRAMES, rate=0), ValueError, "rate"),
    "negative rate": (lambda: gme.write_vids("x", FRAMES, rate=-25), ValueError, "rate"),
    "rate not a number": (lambda: gme.write_vids("x", FRAMES, rate=float("nan")), ValueError,
                          "rate"),
    "rate beyond float": (lambda: gme.write_vids("x", FRAMES, rate=1e39), ValueError, "rate"),
    "rate as text": (lambda: gme.write_vids("x", FRAMES, rate="25"), TypeError, "rate"),
}


@pytest.mark.parametrize("case", CASES)
def test_refused_argument(case, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    call, error, message = CASES[case]
    with pytest.raises(error, match=re.escape(message)):
        call()
    assert list(tmp_path.iterdir()) == [], "a refused write left files"


def test_refused_frames_leave_the_estimator_as_it_was(scene):
    alone = gme.SequenceEstimator()
    expected = [alone.push(frame) for frame in scene[:4]][1:]
    refused = gme.SequenceEstimator()
    got = []
    for frame in scene[:4]:
        got.append(refused.push(frame))
        pushed = refused.frames_pushed
        for bad in (frame[1:], frame[:, :-1], frame.astype(np.uint16), frame[None]):
            with pytest.raises((ValueError, TypeError)):
                refused.push(bad)
        assert refused.frames_pushed == pushed
    assert got[0] is None
    for a, b in zip(got[1:], expected):
        assert repr(a) == repr(b)
        assert np.array_equal(a.compensated, b.compensated)
