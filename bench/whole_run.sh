#!/usr/bin/env bash
# whole_run.sh BUILD [WxH ...]: the whole gme command, reading and writing included, on
# the demo scene (30 frames rendered by gme_demo) at 352x288, 720x576 and 1920x1080 or
# the sizes given. Prints the median and the sum of the printed per-pair times
# (Estimator + Compensator), the run's wall-clock and processor time, their ratio to that
# sum, and the run's peak memory (resident set). Needs /usr/bin/python3 and GNU time
# (/usr/bin/time).
set -euo pipefail
build=$(cd "${1:?usage: whole_run.sh BUILD [WxH ...]}" && pwd)
shift
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(352x288 720x576 1920x1080)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "whole gme run, demo scene, 30 frames:"
for size in "${sizes[@]}"; do
    mkdir -p "$work/$size"
    "$build/tools/demo/gme_demo" render "$work/$size" 30 "$size" > /dev/null
    # Times to the microsecond from the rusage of GNU time, which waits for gme (that
    # adds the processor time of a small program); the peak memory from GNU time.
    (cd "$work/$size" && /usr/bin/python3 -c '
import os, subprocess, sys, time
start = time.perf_counter()
run = subprocess.Popen(sys.argv[1:], stdout=open("stdout", "w"))
_, status, use = os.wait4(run.pid, 0)
wall = time.perf_counter() - start
if status:
    sys.exit(1)
peak = int(open("memory.txt").read().split()[-1])
print(wall, use.ru_utime, use.ru_stime, peak, file=open("time.txt", "w"))
' /usr/bin/time -f "%M" -o memory.txt "$build/driver/gme" input output)
    awk '/^Compensator time/ { c = $3 } /^Estimator time/ { print 1000 * (c + $3) }' \
        "$work/$size/stdout" | sort -g |
        awk -v size="$size" -v t="$(cat "$work/$size/time.txt")" '
            { p[NR] = $1; s += $1 / 1000 }
            END {
                split(t, f, " ")
                printf "%9s  pair median %7.2f ms  printed sum %6.3f s  wall %6.3f s (%.2fx)" \
                       "  processor %6.3f s (%.2fx)  peak %5.1f MB\n",
                       size, p[int((NR + 1) / 2)], s, f[1], f[1] / s, f[2] + f[3],
                       (f[2] + f[3]) / s, f[4] / 1024
            }'
    rm -rf "${work:?}/$size"
done
