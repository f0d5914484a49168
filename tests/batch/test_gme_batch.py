"""gme-batch end to end: three rendered sequences and a broken one, given relative to the
caller's directory, against single gme runs of the same inputs."""
import csv
import math
import os
import subprocess

import pytest

BATCH = os.environ["GME_BATCH"]
GME = os.environ["GME_BINARY"]
ENV = dict(os.environ, PATH=os.path.dirname(GME) + os.pathsep + os.environ["PATH"])
SEQUENCES = {"pan": (8, "96x80"), "wide": (6, "160x64"), "tall": (10, "64x112")}
SAME_BYTES = ("compensated.des", "compensated.pic", "mae_Bin.txt", "motion.csv")
SUMMARY_HEADER = ["sequence", "frames", "pairs", "rejected", "mean_mae",
                  "mean_mae_zero_motion", "seconds", "status", "message"]


def render(directory, name, frames, size):
    subprocess.run([os.environ["GME_DEMO"], "render", directory, str(frames), size],
                   check=True, capture_output=True)
    for ext in ("des", "pic"):
        os.rename(directory / f"input.{ext}", directory / f"{name}.{ext}")


def batch(*args, cwd):
    return subprocess.run([BATCH, *map(str, args)], cwd=cwd, env=ENV, capture_output=True,
                          text=True, timeout=600)


def single_run(directory, source):
    directory.mkdir(parents=True)
    return subprocess.run([GME, "--motion", "motion.csv", source, "compensated"],
                          cwd=directory, capture_output=True, text=True)


def without_times(text):
    return [line for line in text.splitlines()
            if not line.startswith(("Compensator time ", "Estimator time "))]


def summary(outdir):
    with open(outdir / "summary.csv", newline="") as f:
        rows = list(csv.reader(f))
    assert rows[0] == SUMMARY_HEADER
    return {row[0]: dict(zip(SUMMARY_HEADER, row)) for row in rows[1:]}, [r[0] for r in rows[1:]]


@pytest.fixture(scope="module")
def run(tmp_path_factory):
    root = tmp_path_factory.mktemp("batch")
    seqs = root / "seqs"
    seqs.mkdir()
    for name, (frames, size) in SEQUENCES.items():
        render(seqs, name, frames, size)
    (seqs / "broken.des").write_text("not a description\n")
    done = batch("-j", "2", "../out", "pan", "wide.des", "broken", "tall", cwd=seqs)
    return root, done


def test_each_sequence_equals_a_single_run(run):
    root, done = run
    for name in SEQUENCES:
        single = single_run(root / "single" / name, root / "seqs" / name)
        assert single.returncode == 0, single.stderr
        ours = root / "out" / name
        for file in SAME_BYTES:
            assert (ours / file).read_bytes() == (root / "single" / name / file).read_bytes(), \
                f"{name}/{file}"
        assert without_times((ours / "gme.out").read_text()) == without_times(single.stdout)


def test_summary_lists_every_input_and_the_failure_with_its_message(run):
    root, done = run
    assert done.returncode == 1, done.stderr
    rows, order = summary(root / "out")
    assert order == ["pan", "wide", "broken", "tall"]
    for name, (frames, _) in SEQUENCES.items():
        row = rows[name]
        with open(root / "out" / name / "motion.csv", newline="") as f:
            pairs = list(csv.DictReader(f))
        maes = [float(p["mae"]) for p in pairs if math.isfinite(float(p["mae"]))]
        assert (row["frames"], row["pairs"], row["status"], row["message"]) == \
            (str(frames), str(frames - 1), "0", "")
        assert int(row["rejected"]) == sum(p["accepted"] == "0" for p in pairs)
        assert float(row["mean_mae"]) == pytest.approx(sum(maes) / len(maes), abs=1e-6)
        assert float(row["mean_mae_zero_motion"]) == pytest.approx(
            sum(float(p["mae_zero_motion"]) for p in pairs) / len(pairs), abs=1e-6)
        assert float(row["seconds"]) >= 0

    single = single_run(root / "single" / "broken", root / "seqs" / "broken")
    assert single.returncode == 1
    broken = rows["broken"]
    assert broken["status"] == "1"
    assert broken["message"] == single.stderr.splitlines()[-1]
    assert broken["message"].startswith("gme: ")
    assert [broken[k] for k in SUMMARY_HEADER[1:6]] == [""] * 5
    assert f"broken: failed: {broken['message']}" in done.stderr


def test_all_done_through_a_machine_list(tmp_path):
    render(tmp_path, "clip", 4, "64x48")
    (tmp_path / "machines").write_text(":\n")    # this machine, as GNU parallel reads it
    done = batch("--sshloginfile", "machines", tmp_path / "out", tmp_path / "clip",
                 cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    rows, order = summary(tmp_path / "out")
    assert order == ["clip"] and rows["clip"]["status"] == "0"
    assert (tmp_path / "out" / "clip" / "compensated.pic").exists()


@pytest.mark.parametrize("args, complaint", [
    (["out", "a/clip", "b/clip.y4m"], "a/clip and b/clip.y4m would both run in"),
    (["out", "-"], "standard input"),
    (["-j", "0", "out", "clip"], "not a positive number"),
    (["--fast", "out", "clip"], "unknown option --fast"),
    (["out"], "at least one input"),
])
def test_refused_command_lines_run_nothing(tmp_path, args, complaint):
    done = batch(*args, cwd=tmp_path)
    assert done.returncode == 2
    assert complaint in done.stderr and "usage: gme-batch" in done.stderr
    assert not (tmp_path / "out").exists()
    usage = batch("--help", cwd=tmp_path)
    assert usage.returncode == 0 and "summary.csv" in usage.stdout
