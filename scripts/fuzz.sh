#!/usr/bin/env bash
# Builds the libFuzzer targets with clang + AddressSanitizer in build-fuzz/
# and runs each for the given number of seconds (default 20) on a copy of its
# corpus. Any crash, leak or sanitizer report fails the run.
#   fuzz.sh [SECONDS] [NAME...]   NAME: a target such as "csv" (default: all)
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seconds="${1:-20}"
build="${SURVEYCAM_FUZZ_BUILD_DIR:-$here/build-fuzz}"
if ! command -v clang++ >/dev/null; then
  echo "fuzz: clang++ not found, skipping"; exit 0
fi
CC=clang CXX=clang++ cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DSURVEYCAM_FUZZ=ON -DSURVEYCAM_SANITIZE=ON -DSURVEYCAM_TESTS=OFF -DSURVEYCAM_VIEWER=OFF >/dev/null
shift $(( $# > 0 ? 1 : 0 ))
targets=()
if (($#)); then
  for name in "$@"; do
    [[ -e "$here/fuzz/${name}_fuzz.cpp" ]] || { echo "fuzz: no target named $name"; exit 2; }
    targets+=("${name}_fuzz")
  done
else
  for src in "$here"/fuzz/*_fuzz.cpp; do
    [[ -e "$src" ]] || continue
    targets+=("$(basename "$src" .cpp)")
  done
fi
((${#targets[@]})) || { echo "fuzz: no targets"; exit 0; }
cmake --build "$build" --target "${targets[@]}"
for t in "${targets[@]}"; do
  corpus="$here/fuzz/corpus/${t%_fuzz}"
  work="$build/corpus/${t%_fuzz}"
  mkdir -p "$work"
  if [[ -d "$corpus" ]]; then cp -r "$corpus"/. "$work"/ 2>/dev/null || true; fi
  echo "fuzz: $t for ${seconds}s"
  log="$build/$t.log"
  if ! (cd "$build" && SURVEYCAM_NO_FSYNC=1 SURVEYCAM_ROOT="$build/fuzz-root-$t" "./fuzz/$t" -max_total_time="$seconds" \
        -max_len=65536 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 "$work" >"$log" 2>&1); then
    tail -n 60 "$log"
    echo "fuzz: $t FAILED (log: $log, crash input under $build)"
    exit 1
  fi
  grep -E "stat::(number_of_executed_units|new_units_added)" "$log" || true
done
