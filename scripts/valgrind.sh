#!/usr/bin/env bash
# Runs a chosen set of test programs under valgrind memcheck; any error or
# definite leak fails the script. Uses an ordinary (unsanitized) build in
# build-valgrind/ (or $SURVEYCAM_VALGRIND_BUILD_DIR).
# Usage: scripts/valgrind.sh [test_program ...]   (default: the set below)
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_VALGRIND_BUILD_DIR:-$here/build-valgrind}"
jobs="${SURVEYCAM_JOBS:-2}"
if ! command -v valgrind >/dev/null; then
  echo "valgrind: not installed (apt-get install valgrind)"; exit 1
fi
# The subset: the platform seam, the file formats, the image code, the fault
# matrix and the devices. The liveview and sim suites render many frames and
# take too long under memcheck for every run; name them to include them.
programs=("$@")
((${#programs[@]})) || programs=(test_platform test_camera test_pointfiles test_storage test_image test_devices test_faults)
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSURVEYCAM_VIEWER=OFF >/dev/null
cmake --build "$build" -j"$jobs" --target "${programs[@]}"
status=0
for p in "${programs[@]}"; do
  log="$build/valgrind-$p.log"
  echo "valgrind: $p"
  (cd "$build/tests" && SURVEYCAM_SOURCE_DIR="$here" valgrind --tool=memcheck --error-exitcode=1 \
     --suppressions="$here/scripts/valgrind.supp" \
     --leak-check=full --errors-for-leak-kinds=definite --track-origins=yes --num-callers=30 \
     --log-file="$log" "./$p" --gtest_brief=1 >/dev/null) || status=1
  grep -E "ERROR SUMMARY|definitely lost" "$log" | sed "s/^==[0-9]*== /  /"
done
exit $status
