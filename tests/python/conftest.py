"""What the Python module's tests share: the commands of this build and the
integer-rendered test scene (160 x 128, 12 frames, on which gme rejects one estimate)."""
import os
import pathlib

import numpy as np
import pytest

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build"
GME = os.environ.get("GME_BINARY", str(BUILD / "driver" / "gme"))
VIDSTOOL = os.environ.get("VIDSTOOL_BINARY", str(BUILD / "tools" / "vidstool" / "vidstool"))

SCENE_WIDTH, SCENE_HEIGHT, SCENE_FRAMES = 160, 128, 12


def tri(u, period):
    m = u % period  # numpy's % is never negative for a positive period
    return np.where(m < period // 2, m, period - m)


def texture(u, v):
    return 20 + 2 * tri(u, 61) + 2 * tri(v, 47) + tri(u + v, 33) + tri(u - 2 * v, 53)


def render_frame(n, width=SCENE_WIDTH, height=SCENE_HEIGHT):
    """Frame n of the scene of tests/support/IntegerScene.h, in the same integer steps."""
    y, x = np.mgrid[0:height, 0:width]
    u4, v4 = 4 * x + 6 * n, 4 * y + 3 * n
    u, v, fx, fy = u4 >> 2, v4 >> 2, u4 & 3, v4 & 3
    s = ((4 - fx) * (4 - fy) * texture(u, v) + fx * (4 - fy) * texture(u + 1, v)
         + (4 - fx) * fy * texture(u, v + 1) + fx * fy * texture(u + 1, v + 1))
    ox, oy = 10 + 7 * n, 20 + 2 * n * (n % 3)
    block = (x >= ox) & (x < ox + 24) & (y >= oy) & (y < oy + 20)
    return np.where(block, 200 + tri(x * 5 + y * 3 + n, 31), s // 16).astype(np.uint8)


@pytest.fixture(scope="session")
def scene():
    frames = np.stack([render_frame(n) for n in range(SCENE_FRAMES)])
    frames.setflags(write=False)
    return frames
