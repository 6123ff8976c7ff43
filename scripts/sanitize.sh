#!/usr/bin/env bash
# Builds everything with AddressSanitizer + UndefinedBehaviorSanitizer in
# build-asan/ (or $SURVEYCAM_ASAN_BUILD_DIR) and runs the whole ctest suite.
# Any sanitizer report fails its test and so the script. Extra arguments go
# to ctest (e.g. -R '^storage/'); SURVEYCAM_ASAN_TARGETS="test_storage test_faults"
# builds only those programs (then pass the matching -R).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_ASAN_BUILD_DIR:-$here/build-asan}"
jobs="${SURVEYCAM_JOBS:-2}"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DSURVEYCAM_SANITIZE=ON -DSURVEYCAM_VIEWER=OFF >/dev/null
targets=()
for t in ${SURVEYCAM_ASAN_TARGETS:-}; do targets+=(--target "$t"); done
cmake --build "$build" -j"$jobs" "${targets[@]}"
# Leaks are errors; a report stops the program so the test fails.
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
ctest --test-dir "$build" --output-on-failure -j"$jobs" --timeout 900 "$@"
