#!/usr/bin/env bash
# Installs a build into a fresh prefix and uses it from there as a user would: the example
# is built once with find_package(gme) and once with pkg-config, and both must print for a
# small raw 4:2:0 file exactly the motion file that the installed gme writes for the same
# frames; the installed Python module, when it was built, must be the one /usr/bin/python3
# finds under the prefix, and give the same doubles.
#   examples/install-check.sh BUILD_DIR WORK_DIR      (WORK_DIR is emptied first)
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: $0 BUILD_DIR WORK_DIR" >&2; exit 2; }
examples=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
rm -rf "$2" && mkdir -p "$2"
work=$(cd "$2" && pwd)
prefix=$work/prefix
fail() { echo "install-check: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
for f in bin/gme bin/vidstool bin/gme-plot bin/gme-batch; do
  [ -x "$prefix/$f" ] || fail "$f is not installed as a program"
done
for f in include/gme/SequenceEstimator.h include/gme/Compensate.h lib/libgme.a \
         lib/cmake/gme/gmeConfig.cmake lib/pkgconfig/gme.pc; do
  [ -f "$prefix/$f" ] || fail "$f is not installed"
done
if ls "$prefix"/lib/*.a | grep -v '/libgme[_.][^/]*$'; then
  fail "libraries above without the gme prefix"
fi

# Eight frames of the demo scene (352x288, 4:2:0): a vids sequence for gme, and the same
# frames as a raw file for the example.
mkdir "$work/scene"
"$build/tools/demo/gme_demo" render "$work/scene" 8 > /dev/null
"$prefix/bin/vidstool" export "$work/scene/input" "$work/scene.y4m"
/usr/bin/python3 - "$work/scene.y4m" "$work/scene.yuv" 352 288 <<'EOF'
import sys
data, size = open(sys.argv[1], "rb").read(), int(sys.argv[3]) * int(sys.argv[4]) * 3 // 2
at = data.index(b"\n") + 1
with open(sys.argv[2], "wb") as raw:
    while at < len(data):
        assert data[at:at + 6] == b"FRAME\n", "a FRAME line with parameters"
        raw.write(data[at + 6:at + 6 + size])
        at += 6 + size
EOF
(cd "$work" && "$prefix/bin/gme" --quiet --motion gme.csv scene/input compensated)

cmake -S "$examples" -B "$work/example" -DCMAKE_BUILD_TYPE=Release \
      -DCMAKE_PREFIX_PATH="$prefix" > "$work/example.log"
cmake --build "$work/example" >> "$work/example.log"
"$work/example/estimate_motion" --size 352x288 "$work/scene.yuv" > "$work/cmake.csv"
cmp "$work/gme.csv" "$work/cmake.csv" || fail "the example built with CMake differs from gme"

# shellcheck disable=SC2046   # the flags are meant to split
g++ -std=c++17 -O2 -o "$work/estimate_motion" "$examples/estimate_motion.cpp" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs gme)
"$work/estimate_motion" --size 352x288 - < "$work/scene.yuv" > "$work/pkg-config.csv"
cmp "$work/gme.csv" "$work/pkg-config.csv" || fail "the example built with pkg-config differs from gme"

module=$(find "$prefix" -name 'gme.cpython-*.so')
if [ -n "$module" ]; then
  (cd "$work" && PYTHONPATH=$(dirname "$module") /usr/bin/python3 - "$module" <<'EOF'
import csv, sys
import gme
assert gme.__file__ == sys.argv[1], gme.__file__
motion = gme.estimate(gme.read_vids("scene/input"))
rows = list(csv.DictReader(open("gme.csv")))
assert motion["params"].tolist() == [[float(r[f"a{i}"]) for i in range(6)] for r in rows]
EOF
  ) || fail "the installed Python module differs from gme"
else
  echo "install-check: no Python module in the build: not checked"
fi
echo "install-check: $prefix holds gme, and the example built against it gives gme's motion"
