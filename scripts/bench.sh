#!/usr/bin/env bash
# Installs the comparison libraries, builds the benchmarks in Release and runs them all.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_BENCH_BUILD_DIR:-$here/build-bench}"
pkgs=(libopencv-dev libopencv-contrib-dev libeigen3-dev)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo_cmd=(); [[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
bash "$here/scripts/setup.sh" >/dev/null
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSURVEYCAM_BENCH=ON \
  -DSURVEYCAM_BENCH_COMPARE=ON -DSURVEYCAM_TESTS=OFF
cmake --build "$build"
for b in "$build"/bench/*_bench; do "$b" "$@"; done
