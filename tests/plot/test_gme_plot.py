"""gme-plot end to end: the PNG it draws of a real run, the marks of rejected estimates,
the geometry behind the camera path and the zoom and rotation, and its refusals."""
import importlib.machinery
import importlib.util
import math
import os
import struct
import subprocess

import matplotlib.image
import numpy
import pytest

PLOT = os.environ["GME_PLOT"]
HEADER = "pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks"
LOADER = importlib.machinery.SourceFileLoader("gme_plot", PLOT)
gme_plot = importlib.util.module_from_spec(importlib.util.spec_from_loader("gme_plot", LOADER))
LOADER.exec_module(gme_plot)


def plot(*args, cwd=None, stdin=None):
    return subprocess.run([PLOT, *map(str, args)], cwd=cwd, input=stdin, capture_output=True,
                          text=True, timeout=120)


def png_size(path):
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n" and data[12:16] == b"IHDR", f"{path}: not a PNG"
    return struct.unpack(">II", data[16:24])


def motion_file(pairs, rejected=()):
    """A camera panning 2.5 px a frame, zooming in and turning slowly; pair 2 unmeasured."""
    return "".join([HEADER + "\n"] + [
        f"{n},2.5,0.996,-0.0018,1.25,0.0018,0.996,{0 if n in rejected else 1},"
        f"{'nan' if n == 2 else 2 + n / 10},{9 - n / 10},{150 + n}\n" for n in range(1, pairs + 1)])


def test_png_of_a_gme_run_on_the_demo_scene(tmp_path):
    # The demo camera zooms in by 0.4 % and turns clockwise by 0.1 degree a frame.
    subprocess.run([os.environ["GME_DEMO"], "render", tmp_path, "10"], check=True,
                   capture_output=True)
    subprocess.run([os.environ["GME_BINARY"], "--quiet", "--motion", "motion.csv", "input",
                    "compensated"], cwd=tmp_path, check=True)
    done = plot("motion.csv", "-o", "run.png", "--size", "352x288", cwd=tmp_path)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert png_size(tmp_path / "run.png") == (1200, 800)
    run = gme_plot.read_motion_file(str(tmp_path / "motion.csv"))
    zoom, rotation = numpy.mean([gme_plot.zoom_and_rotation(m) for m in run.models], axis=0)
    assert (zoom, rotation) == (pytest.approx(0.4, abs=0.1), pytest.approx(0.1, abs=0.03))


def test_rejected_pairs_mark_every_panel(tmp_path):
    for name, text in (("a", motion_file(12)), ("b", motion_file(12)),
                       ("c", motion_file(12, rejected={5, 6}))):
        assert plot("-", "-o", f"{name}.png", "--title", "run", cwd=tmp_path, stdin=text) \
            .returncode == 0
    a, b, c = (matplotlib.image.imread(tmp_path / f"{n}.png") for n in "abc")
    assert numpy.array_equal(a, b), "the same file must give the same picture"
    changed = numpy.any(a != c, axis=2)
    for rows in (slice(90, 440), slice(460, 800)):      # the panels, below the title lines
        for columns in (slice(0, 600), slice(600, 1200)):
            assert changed[rows, columns].any(), f"no mark in the panel at {rows}, {columns}"


def test_camera_path_composes_towards_the_first_frame():
    shift = (5, 1, 0, 0, 0, 1)          # frame 1 -> frame 0: x + 5
    turn = (0, 0, -1, 0, 1, 0)          # frame 2 -> frame 1: (x, y) -> (-y, x)
    # (1, 0) of frame 2 is (0, 1) of frame 1 and (5, 1) of frame 0, not (0, 6).
    assert gme_plot.camera_path([shift, turn], (1.0, 0.0)) == [(1, 0), (6, 0), (5, 1)]


@pytest.mark.parametrize("zoom, degrees", [(0.0, 0.0), (2.0, 3.0), (-1.5, -10.0)])
def test_zoom_and_rotation_of_a_scaled_rotation(zoom, degrees):
    s, t = 1 / (1 + zoom / 100), math.radians(degrees)
    model = (7.0, s * math.cos(t), -s * math.sin(t), -3.0, s * math.sin(t), s * math.cos(t))
    assert gme_plot.zoom_and_rotation(model) == (pytest.approx(zoom), pytest.approx(degrees))


ROW = "1,0,1,0,0,0,1,1,2.5,3.5,0"


@pytest.mark.parametrize("text, expected", [
    (None, "No such file or directory"),
    ("5.000000 6.000000 ", "not a gme motion file"),
    (HEADER + "\n", "no frame pairs"),
    (HEADER + "\n" + ROW[:-2] + "\n", "line 2: 11 fields expected, found 10"),
    (HEADER + "\n" + ROW.replace("1,0,1", "1,0,x") + "\n", "line 2: a1: not a number"),
    (HEADER + "\n" + ROW + "\n" + ROW + "\n", "line 3: pair 2 expected, found 1"),
    (HEADER + "\n" + ROW.replace(",1,2.5", ",2,2.5") + "\n", "line 2: accepted: 2 is not"),
])
def test_refused_motion_files(tmp_path, capsys, text, expected):
    source = tmp_path / "motion.csv"
    if text is not None:
        source.write_text(text)
    assert gme_plot.main([str(source), "-o", str(tmp_path / "run.png")]) == 1
    out, err = capsys.readouterr()
    assert out == "" and err.startswith(f"gme-plot: {source}: ") and err.count("\n") == 1
    assert expected in err
    assert not (tmp_path / "run.png").exists()


def test_command_line(tmp_path):
    (tmp_path / "m.csv").write_text(motion_file(2))
    assert plot("--help").returncode == 0
    for args in (["m.csv"], ["m.csv", "-o", "r.png", "--size", "0x288"]):
        done = plot(*args, cwd=tmp_path)
        assert done.returncode == 2 and "usage: gme-plot" in done.stderr, args
    done = plot("m.csv", "-o", tmp_path / "missing" / "r.png", cwd=tmp_path)
    assert done.returncode == 1 and done.stderr.count("\n") == 1
