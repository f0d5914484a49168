"""gme.read_vids and gme.write_vids: frames written come back byte for byte at any size
and layout, the rate reaches the description, an existing sequence is kept as a backup,
sequences of vidstool import read as their luminance (fields when interlaced), and files
that cannot be read or written raise OSError without touching anything."""
import os
import subprocess

import numpy as np
import pytest

import gme
from conftest import VIDSTOOL

RNG = np.random.default_rng(13)


def noise(*shape):
    return RNG.integers(0, 256, shape, dtype=np.uint8)


@pytest.mark.parametrize("frames", [noise(1, 1, 1), noise(3, 5, 7), noise(2, 33, 17),
                                    noise(2, 18, 40)[:, ::-2, 3:-4:3]],
                         ids=["1x1", "7x5", "17x33", "strided view"])
def test_written_frames_read_back(tmp_path, frames):
    gme.write_vids(tmp_path / "seq", frames)
    got = gme.read_vids(str(tmp_path / "seq"))
    assert got.dtype == np.uint8 and np.array_equal(got, frames)


def test_rewrite_keeps_the_previous_sequence_and_the_rate_reaches_the_description(tmp_path):
    first, second = noise(2, 32, 48), noise(4, 16, 8)
    gme.write_vids(tmp_path / "seq", first)
    old = {ext: (tmp_path / f"seq.{ext}").read_bytes() for ext in ("des", "pic")}
    gme.write_vids(tmp_path / "seq.pic", second, rate=12.5)   # an extension is dropped
    assert np.array_equal(gme.read_vids(tmp_path / "seq"), second)
    for ext, data in old.items():
        assert (tmp_path / f"seq.{ext}~").read_bytes() == data
    info = subprocess.run([VIDSTOOL, "info", "seq"], cwd=tmp_path, check=True,
                          capture_output=True, text=True).stdout
    assert "Frame rate    : 12.5" in info and "Chroma format : 4:0:0" in info


@pytest.mark.parametrize("interlace", ["p", "t"])
def test_imported_colour_video_reads_as_its_luminance(tmp_path, interlace):
    frames, chroma = noise(3, 24, 40), noise(3, 2, 12, 20)
    with open(tmp_path / "in.yuv", "wb") as raw:
        for y, uv in zip(frames, chroma):
            raw.write(y.tobytes() + uv.tobytes())
    subprocess.run([VIDSTOOL, "import", "--size", "40x24", "--format", "420", "--interlace",
                    interlace, "in.yuv", "seq"], cwd=tmp_path, check=True)
    expected = frames if interlace == "p" else \
        np.stack([frames[:, 0::2], frames[:, 1::2]], axis=1).reshape(6, 12, 40)
    assert np.array_equal(gme.read_vids(tmp_path / "seq"), expected)


def unreadable(d):
    """Sequences that cannot be read, by name, and the OSError each raises."""
    gme.write_vids(d / "good", noise(2, 8, 8))
    for name in ("no_pic", "short", "garbage", "dir_des"):
        for ext in ("des", "pic"):
            (d / f"{name}.{ext}").write_bytes((d / f"good.{ext}").read_bytes())
    os.remove(d / "no_pic.pic")
    os.truncate(d / "short.pic", os.path.getsize(d / "good.pic") // 2)
    (d / "garbage.des").write_text("not a description\n")
    os.remove(d / "dir_des.des")
    os.mkdir(d / "dir_des.des")
    return {"missing": (FileNotFoundError, "missing.des"),
            "no_pic": (FileNotFoundError, "no_pic.pic"),
            "short": (OSError, "holds 1 of the 2 frames"),
            "garbage": (OSError, "not a readable vids description"),
            "dir_des": (IsADirectoryError, "dir_des.des")}


def test_unreadable_sequences_raise_oserror(tmp_path):
    for name, (error, message) in unreadable(tmp_path).items():
        with pytest.raises(error, match=message):
            gme.read_vids(tmp_path / name)


def test_unwritable_sequences_raise_oserror_and_change_nothing(tmp_path):
    (tmp_path / "dir_des.des").mkdir()
    gme.write_vids(tmp_path / "backup_blocked", noise(1, 4, 4))
    (tmp_path / "backup_blocked.pic~").mkdir()
    (tmp_path / "file").write_text("")
    before = sorted(p.name for p in tmp_path.iterdir())
    cases = {"missing_dir/seq": FileNotFoundError, "file/seq": NotADirectoryError,
             "dir_des": IsADirectoryError, "backup_blocked": IsADirectoryError}
    for name, error in cases.items():
        with pytest.raises(error):
            gme.write_vids(tmp_path / name, noise(2, 4, 4))
    assert sorted(p.name for p in tmp_path.iterdir()) == before
    assert gme.read_vids(tmp_path / "backup_blocked").shape == (1, 4, 4)


@pytest.mark.skipif(os.geteuid() == 0, reason="root reads and writes every file")
def test_files_without_permission_raise_permissionerror(tmp_path):
    gme.write_vids(tmp_path / "seq", noise(2, 4, 4))
    os.chmod(tmp_path / "seq.pic", 0)
    with pytest.raises(PermissionError):
        gme.read_vids(tmp_path / "seq")
    os.chmod(tmp_path, 0o500)
    try:
        with pytest.raises(PermissionError):
            gme.write_vids(tmp_path / "new", noise(2, 4, 4))
    finally:
        os.chmod(tmp_path, 0o700)
