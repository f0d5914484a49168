"""gme-batch end to end: three rendered sequences (one as YUV4MPEG2) and a broken one,
given relative to the caller's directory, against single gme runs of the same inputs."""
import csv
import math
import os
import subprocess

import pytest

GME = os.environ["GME_BINARY"]
ENV = dict(os.environ, PATH=os.path.dirname(GME) + os.pathsep + os.environ["PATH"])
# name: frames, size, and the input as given (relative, with or without an extension)
SEQUENCES = {"pan": (8, "96x80", "pan"), "wide": (6, "160x64", "wide.des"),
             "tall": (10, "64x112", "tall.y4m")}


def render(directory, name, frames, size):
    subprocess.run([os.environ["GME_DEMO"], "render", directory, str(frames), size],
                   check=True, capture_output=True)
    for ext in ("des", "pic"):
        os.rename(directory / f"input.{ext}", directory / f"{name}.{ext}")


def batch(*args, cwd):
    return subprocess.run([os.environ["GME_BATCH"], *map(str, args)], cwd=cwd, env=ENV,
                          capture_output=True, text=True, timeout=600)


def single_run(directory, source):
    directory.mkdir(parents=True)
    return subprocess.run([GME, "--motion", "motion.csv", source, "compensated"],
                          cwd=directory, capture_output=True, text=True)


def timeless(output):
    return [line for line in output.splitlines()
            if not line.startswith(("Compensator time ", "Estimator time "))]


def read_csv(path):
    with open(path, newline="") as f:
        return list(csv.DictReader(f))


@pytest.fixture(scope="module")
def run(tmp_path_factory):
    root = tmp_path_factory.mktemp("batch")
    (root / "seqs").mkdir()
    for name, (frames, size, _) in SEQUENCES.items():
        render(root / "seqs", name, frames, size)
    subprocess.run([os.environ["GME_VIDSTOOL"], "export", "tall", "tall.y4m"], check=True,
                   cwd=root / "seqs")
    (root / "seqs" / "broken.des").write_text("not a description\n")
    done = batch("-j", "2", "../out", "pan", "wide.des", "broken", "tall.y4m", cwd=root / "seqs")
    return root, done, {row["sequence"]: row for row in read_csv(root / "out" / "summary.csv")}


def test_each_sequence_equals_a_single_run(run):
    root, _, _ = run
    for name, (_, _, given) in SEQUENCES.items():
        single = single_run(root / "single" / name, root / "seqs" / given)
        for file in ("compensated.des", "compensated.pic", "mae_Bin.txt", "motion.csv"):
            assert (root / "out" / name / file).read_bytes() == \
                (root / "single" / name / file).read_bytes(), f"{name}/{file}"
        assert timeless((root / "out" / name / "gme.out").read_text()) == \
            timeless(single.stdout)


def test_summary_lists_every_input_and_the_failure_with_its_message(run):
    root, done, rows = run
    assert done.returncode == 1, done.stderr
    assert list(rows) == ["pan", "wide", "broken", "tall"]
    for name, (frames, _, _) in SEQUENCES.items():
        row, pairs = rows[name], read_csv(root / "out" / name / "motion.csv")
        maes = [float(p["mae"]) for p in pairs if math.isfinite(float(p["mae"]))]
        assert [row[k] for k in ("frames", "pairs", "rejected", "status", "message")] == \
            [str(frames), str(frames - 1), str(sum(p["accepted"] == "0" for p in pairs)), "0", ""]
        assert float(row["mean_mae"]) == pytest.approx(sum(maes) / len(maes), abs=1e-6)
        assert float(row["mean_mae_zero_motion"]) == pytest.approx(
            sum(float(p["mae_zero_motion"]) for p in pairs) / len(pairs), abs=1e-6)
    single = single_run(root / "single" / "broken", root / "seqs" / "broken")
    broken = rows["broken"]
    assert (broken["status"], broken["message"]) == ("1", single.stderr.splitlines()[-1])
    assert broken["message"].startswith("gme: ") and broken["frames"] == ""
    assert f"broken: failed: {broken['message']}" in done.stderr


def test_all_done_through_a_machine_list(tmp_path):
    render(tmp_path, "clip", 4, "64x48")
    (tmp_path / "machines").write_text(":\n")    # this machine, as GNU parallel reads it
    done = batch("--sshloginfile", "machines", tmp_path / "out", tmp_path / "clip",
                 cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert [r["status"] for r in read_csv(tmp_path / "out" / "summary.csv")] == ["0"]


@pytest.mark.parametrize("args, complaint", [
    (["out", "a/clip", "b/clip.y4m"], "a/clip and b/clip.y4m would both run in"),
    (["out", "-"], "standard input"),
    (["--fast", "out", "clip"], "unknown option --fast"),
])
def test_refused_command_lines_run_nothing(tmp_path, args, complaint):
    done = batch(*args, cwd=tmp_path)
    assert done.returncode == 2 and complaint in done.stderr, done.stderr
    assert not (tmp_path / "out").exists()
