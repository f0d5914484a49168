"""gme-plot end to end: the PNG it draws of a real run, the marks of rejected estimates,
the geometry behind the camera path and the zoom and rotation, and its refusals."""
import importlib.machinery
import importlib.util
import math
import os
import struct
import subprocess
import sys

import matplotlib.image
import numpy
import pytest

PLOT = os.environ["GME_PLOT"]
HEADER = "pair,a0,a1,a2,a3,a4,a5,accepted,mae,mae_zero_motion,object_blocks"


def plot(*args, cwd=None, stdin=None):
    return subprocess.run([PLOT, *map(str, args)], cwd=cwd, input=stdin, capture_output=True,
                          text=True, timeout=120)


def png_size(path):
    """(width, height) of a PNG file; fails unless the file starts as a PNG does."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", f"{path} is not a PNG"
    assert data[12:16] == b"IHDR"
    return struct.unpack(">II", data[16:24])


def motion_rows(pairs, rejected=()):
    """A motion file of a camera panning 2 px a frame, zooming and turning slowly."""
    rows = [HEADER]
    for n in range(1, pairs + 1):
        ok = 0 if n in rejected else 1
        rows.append(f"{n},2.5,0.996,-0.0018,1.25,0.0018,0.996,{ok},{2 + n / 10},{9 - n / 10},"
                    f"{150 + n}")
    return "\n".join(rows) + "\n"


def module():
    loader = importlib.machinery.SourceFileLoader("gme_plot", PLOT)
    spec = importlib.util.spec_from_loader("gme_plot", loader)
    mod = importlib.util.module_from_spec(spec)
    loader.exec_module(mod)
    return mod


def test_png_of_a_gme_run_on_the_demo_scene(tmp_path):
    # The demo camera zooms in by 0.4 % and turns clockwise by 0.1 degree a frame: the
    # signs of both panels follow from the file as gme writes it.
    subprocess.run([os.environ["GME_DEMO"], "render", tmp_path, "10"], check=True,
                   capture_output=True)
    subprocess.run([os.environ["GME_BINARY"], "--quiet", "--motion", "motion.csv", "input",
                    "compensated"], cwd=tmp_path, check=True)
    done = plot("motion.csv", "-o", "run.png", "--size", "352x288", "--title", "demo",
                cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert done.stdout == "" and done.stderr == ""
    assert png_size(tmp_path / "run.png") == (1200, 800)

    mod = module()
    run = mod.read_motion_file(str(tmp_path / "motion.csv"))
    zoom, rotation = zip(*(mod.zoom_and_rotation(m) for m in run.models))
    assert sum(zoom) / len(zoom) == pytest.approx(0.4, abs=0.1)
    assert sum(rotation) / len(rotation) == pytest.approx(0.1, abs=0.03)


def test_rejected_pairs_mark_every_panel(tmp_path):
    (tmp_path / "all.csv").write_text(motion_rows(12))
    (tmp_path / "some.csv").write_text(motion_rows(12, rejected={5, 6}))
    for name, source in (("a.png", "all.csv"), ("b.png", "all.csv"), ("c.png", "some.csv")):
        assert plot(source, "-o", name, "--title", "run", cwd=tmp_path).returncode == 0
    a, b, c = (matplotlib.image.imread(tmp_path / n) for n in ("a.png", "b.png", "c.png"))
    assert numpy.array_equal(a, b), "the same file must give the same picture"
    changed = numpy.any(a != c, axis=2)
    # The four panels, below the title lines (which also count the rejected pairs).
    for rows in (slice(90, 440), slice(460, 800)):
        for columns in (slice(0, 600), slice(600, 1200)):
            assert changed[rows, columns].any(), f"no mark in panel rows {rows} columns {columns}"


def test_motion_file_from_standard_input_with_unmeasured_mae(tmp_path):
    text = motion_rows(3).replace(",2.1,", ",nan,").replace(",2.2,", ",-nan,")
    done = plot("-", "-o", tmp_path / "run.png", stdin=text)
    assert done.returncode == 0, done.stderr
    assert png_size(tmp_path / "run.png") == (1200, 800)


def test_camera_path_composes_towards_the_first_frame():
    mod = module()
    shift = (5, 1, 0, 0, 0, 1)          # frame 1 -> frame 0: x + 5
    turn = (0, 0, -1, 0, 1, 0)          # frame 2 -> frame 1: (x, y) -> (-y, x)
    path = mod.camera_path([shift, turn], (1.0, 0.0))
    # (1, 0) of frame 2 is (0, 1) of frame 1 and (5, 1) of frame 0; the other order of
    # composition would give (0, 6).
    assert path == [(1.0, 0.0), (6.0, 0.0), (5.0, 1.0)]


@pytest.mark.parametrize("zoom_percent, degrees", [(0.0, 0.0), (2.0, 3.0), (-1.5, -10.0)])
def test_zoom_and_rotation_of_a_scaled_rotation(zoom_percent, degrees):
    s = 1 / (1 + zoom_percent / 100)
    t = math.radians(degrees)
    model = (7.0, s * math.cos(t), -s * math.sin(t), -3.0, s * math.sin(t), s * math.cos(t))
    zoom, rotation = module().zoom_and_rotation(model)
    assert zoom == pytest.approx(zoom_percent, abs=1e-9)
    assert rotation == pytest.approx(degrees, abs=1e-9)


GOOD_ROW = "1,0,1,0,0,0,1,1,2.5,3.5,0"


@pytest.mark.parametrize("text, expected", [
    (None, "No such file or directory"),
    ("", "empty file"),
    ("5.000000 6.000000 ", "not a gme motion file"),
    (HEADER.replace(",object_blocks", "") + "\n1,0,1,0,0,0,1,1,2.5,3.5\n", "line 1"),
    (HEADER + "\n", "no frame pairs"),
    (HEADER + "\n1,0,1,0,0,0,1,1,2.5,3.5\n", "line 2: 11 fields expected, found 10"),
    (HEADER + "\n" + GOOD_ROW + "\n\n", "line 3: empty line"),
    (HEADER + "\n1,0,x,0,0,0,1,1,2.5,3.5,0\n", "line 2: a1: not a number"),
    (HEADER + "\n1,inf,1,0,0,0,1,1,2.5,3.5,0\n", "line 2: a0: not a finite number"),
    (HEADER + "\n" + GOOD_ROW + "\n3,0,1,0,0,0,1,1,2.5,3.5,0\n", "line 3: pair 2 expected"),
    (HEADER + "\n1,0,1,0,0,0,1,2,2.5,3.5,0\n", "line 2: accepted: 2 is not one of 0, 1"),
    (HEADER + "\n1,0,1,0,0,0,1,1,2.5,3.5,1.5\n", "line 2: object_blocks"),
    (HEADER + "\n1,0,1,0,0,0,1,1,2.5,nan,0\n", "line 2: mae_zero_motion"),
])
def test_refused_motion_files(tmp_path, capsys, text, expected):
    source = tmp_path / "motion.csv"
    if text is not None:
        source.write_text(text)
    assert module().main([str(source), "-o", str(tmp_path / "run.png")]) == 1
    out, err = capsys.readouterr()
    assert out == ""
    lines = err.splitlines()
    assert len(lines) == 1 and lines[0].startswith(f"gme-plot: {source}") \
        and expected in lines[0], err
    assert not (tmp_path / "run.png").exists()


def test_command_line(tmp_path):
    (tmp_path / "m.csv").write_text(motion_rows(2))
    usage = plot("--help")
    assert usage.returncode == 0 and "--size WxH" in usage.stdout
    for args in (["m.csv"], ["m.csv", "-o", "r.png", "--size", "352"],
                 ["m.csv", "-o", "r.png", "--size", "0x288"], ["-o", "r.png"]):
        done = plot(*args, cwd=tmp_path)
        assert done.returncode == 2, args
        assert "usage: gme-plot" in done.stderr
    unwritable = plot("m.csv", "-o", tmp_path / "missing" / "r.png", cwd=tmp_path)
    assert unwritable.returncode == 1
    assert unwritable.stderr.startswith("gme-plot: ") and len(unwritable.stderr.splitlines()) == 1
