#!/usr/bin/env bash
# whole_run.sh BUILD [WxH ...]: the whole gme command, reading and writing included, on
# the demo scene (30 frames rendered by gme_demo) at 352x288, 720x576 and 1920x1080 or
# the sizes given. For each size gme runs ROUNDS times (default 5); printed are the run
# with the median wall-clock ratio: the median and the sum of its printed per-pair times
# (Estimator + Compensator), its wall-clock and processor time and their ratios to that
# sum; then the peak memory (resident set) of one more run under GNU time.
#
# gme is started by posix_spawn from Python and timed by wait4, so that the figures hold
# gme's start-up (exec, the dynamic loader) but not a harness's: a run under GNU time
# counts GNU time's own start and fork too, about 3 ms at 352x288 (a tenth of the sum).
# Needs /usr/bin/python3 and GNU time (/usr/bin/time).
set -euo pipefail
build=$(cd "${1:?usage: whole_run.sh BUILD [WxH ...]}" && pwd)
shift
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(352x288 720x576 1920x1080)
rounds=${ROUNDS:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "whole gme run, demo scene, 30 frames (median of $rounds runs):"
for size in "${sizes[@]}"; do
    mkdir -p "$work/$size"
    "$build/tools/demo/gme_demo" render "$work/$size" 30 "$size" > /dev/null
    (cd "$work/$size" && /usr/bin/python3 -c '
import os, sys, time
gme, rounds = sys.argv[1], int(sys.argv[2])
runs = []
for _ in range(rounds):
    out = os.open("stdout", os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
    start = time.perf_counter()
    pid = os.posix_spawn(gme, [gme, "input", "output"], os.environ,
                         file_actions=[(os.POSIX_SPAWN_DUP2, out, 1)])
    _, status, use = os.wait4(pid, 0)
    wall = time.perf_counter() - start
    os.close(out)
    if status:
        sys.exit("gme failed")
    pairs = []
    for line in open("stdout"):
        if line.startswith("Compensator time"):
            c = float(line.split()[2])
        elif line.startswith("Estimator time"):
            pairs.append(c + float(line.split()[2]))
    s = sum(pairs)
    runs.append((wall / s, sorted(pairs)[(len(pairs) - 1) // 2], s, wall,
                 use.ru_utime + use.ru_stime))
    for f in ("output.des", "output.pic", "mae_Bin.txt"):
        os.remove(f)
ratio, median, s, wall, cpu = sorted(runs)[(rounds - 1) // 2]
print("%9s  pair median %7.2f ms  printed sum %7.2f ms  wall %7.2f ms (%.2fx)"
      "  processor %7.2f ms (%.2fx)" % (sys.argv[3], 1e3 * median, 1e3 * s, 1e3 * wall,
                                         ratio, 1e3 * cpu, cpu / s), end="")
' "$build/driver/gme" "$rounds" "$size"
     /usr/bin/time -f "%M" -o memory.txt "$build/driver/gme" input output > /dev/null
     awk '{ printf "  peak %5.1f MB\n", $1 / 1024 }' memory.txt)
    rm -rf "${work:?}/$size"
done
