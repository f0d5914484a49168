"""gme.estimate, gme.SequenceEstimator and gme.compensate against a run of the gme command
on the rendered scene (with its rejected estimate): the same doubles bit for bit, the same
flags, block counts and compensated frames, whatever the memory layout of the frames; and
C-contiguous frames are read where they lie."""
import csv
import subprocess
import tracemalloc
import types

import numpy as np
import pytest

import gme
from conftest import GME, SCENE_HEIGHT, SCENE_WIDTH

FIELDS = {"params": np.float64, "accepted": bool, "mae": np.float64,
          "mae_zero_motion": np.float64, "object_blocks": np.int64}

# The frames' last two axes (rows, columns) in other memory layouts, same values.
LAYOUTS = {
    "contiguous": lambda f: f,
    "crop of longer rows": lambda f: np.pad(f, [(0, 0)] * (f.ndim - 1) + [(8, 16)])[..., 8:-16],
    "rows stored upward": lambda f: np.ascontiguousarray(f[..., ::-1, :])[..., ::-1, :],
    "columns apart": lambda f: np.repeat(f, 2, axis=-1)[..., ::2],
    "column major": np.asfortranarray,
}


@pytest.fixture(scope="module")
def command(scene, tmp_path_factory):
    """gme's motion file of the scene as arrays like estimate's, and its output frames."""
    run = tmp_path_factory.mktemp("run")
    gme.write_vids(run / "in", scene)
    subprocess.run([GME, "--quiet", "--motion", "m.csv", "in", "out"], cwd=run, check=True)
    with open(run / "m.csv", newline="") as f:
        rows = list(csv.DictReader(f))
    motion = {
        "params": np.array([[float(r[f"a{i}"]) for i in range(6)] for r in rows]),
        "accepted": np.array([r["accepted"] == "1" for r in rows]),
        "mae": np.array([float(r["mae"]) for r in rows]),
        "mae_zero_motion": np.array([float(r["mae_zero_motion"]) for r in rows]),
        "object_blocks": np.array([int(r["object_blocks"]) for r in rows], np.int64),
    }
    assert not motion["accepted"].all(), "the scene must make gme reject an estimate"
    return types.SimpleNamespace(motion=motion, output=gme.read_vids(run / "out"))


def assert_same_bits(got, expected, what):
    """Equal as stored: the same dtype, shape and bytes (a NaN equals the same NaN)."""
    got = np.asarray(got)
    assert got.dtype == expected.dtype and got.shape == expected.shape, what
    pairs = len(expected)
    differ = (got.view(np.uint8).reshape(pairs, -1) != expected.view(np.uint8).reshape(pairs, -1))
    if differ.any():
        k = np.nonzero(differ.any(axis=1))[0][0]
        pytest.fail(f"{what} of pair {k + 1}: {got[k]!r} instead of {expected[k]!r}")


@pytest.mark.parametrize("layout", LAYOUTS)
def test_estimate_gives_the_motion_file_of_gme(scene, command, layout):
    result = gme.estimate(LAYOUTS[layout](scene))
    assert set(result) == set(FIELDS)
    for name, expected in command.motion.items():
        assert_same_bits(result[name], expected, name)


def test_push_gives_every_pair_and_compensated_frame_of_gme(scene, command):
    estimator = gme.SequenceEstimator()
    assert estimator.push(scene[0]) is None
    results = [estimator.push(frame) for frame in scene[1:]]
    for name, expected in command.motion.items():
        assert_same_bits([getattr(r, name) for r in results], expected, name)
    for n, r in enumerate(results, 1):
        assert np.array_equal(r.compensated, command.output[n]), f"frame {n}"
        # The mask: whole 8 x 8 blocks of 0 or 255, as many marked as counted.
        blocks = r.object_mask.reshape(SCENE_HEIGHT // 8, 8, SCENE_WIDTH // 8, 8)
        assert (blocks.min(axis=(1, 3)) == blocks.max(axis=(1, 3))).all()
        assert np.isin(blocks, (0, 255)).all()
        assert (blocks[:, 0, :, 0] == 255).sum() == r.object_blocks
    assert (estimator.width, estimator.height, estimator.frames_pushed) == \
        (SCENE_WIDTH, SCENE_HEIGHT, len(scene))


@pytest.mark.parametrize("layout", LAYOUTS)
def test_compensate_gives_the_frames_and_mae_of_gme(scene, command, layout):
    frames = LAYOUTS[layout](scene)
    params, mae = command.motion["params"], command.motion["mae"]
    for n in range(1, len(scene)):
        warped, error = gme.compensate(frames[n - 1], params[n - 1], frames[n])
        assert np.array_equal(warped, command.output[n]), f"frame {n}"
        assert_same_bits([error], mae[n - 1:n], f"mae of pair {n}")
    warped, error = gme.compensate(frames[0], params[0].tolist())
    assert error is None and np.array_equal(warped, command.output[1])


def peak_traced_bytes(call):
    """Peak of the memory Python and numpy allocate during call()."""
    tracemalloc.start()
    try:
        call()
        return tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()


def test_contiguous_frames_are_read_in_place_and_others_copied_one_at_a_time(scene):
    frame = scene[0].nbytes
    for layout in ("contiguous", "crop of longer rows"):
        frames = LAYOUTS[layout](scene)
        assert peak_traced_bytes(lambda: gme.estimate(frames)) < frame, layout
    for layout in ("columns apart", "column major"):
        frames = LAYOUTS[layout](scene)
        assert frame <= peak_traced_bytes(lambda: gme.estimate(frames)) < 2 * frame, layout
