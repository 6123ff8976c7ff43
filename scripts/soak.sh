#!/usr/bin/env bash
# The simulated field day at full length: test_soak for 18,000 timer ticks
# (an hour of 200 ms ticks on the platform clock). The ctest run uses a
# shorter day; this is the long one, not part of CI.
#
# Usage: scripts/soak.sh              full day, ordinary build ($SURVEYCAM_BUILD_DIR or build/)
#        scripts/soak.sh --valgrind   memcheck (errors and definite leaks fail), a shorter day
#                                     (900 ticks unless SURVEYCAM_SOAK_TICKS says otherwise),
#                                     in build-valgrind/ ($SURVEYCAM_VALGRIND_BUILD_DIR)
# SURVEYCAM_SOAK_TICKS and SURVEYCAM_SOAK_SEED override the length and the schedule.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="${SURVEYCAM_JOBS:-2}"
use_valgrind=0
case "${1:-}" in
  --valgrind) use_valgrind=1 ;;
  "") ;;
  *) echo "usage: $0 [--valgrind]" >&2; exit 2 ;;
esac

if ((use_valgrind)); then
  command -v valgrind >/dev/null || { echo "valgrind: not installed (apt-get install valgrind)"; exit 1; }
  build="${SURVEYCAM_VALGRIND_BUILD_DIR:-$here/build-valgrind}"
  export SURVEYCAM_SOAK_TICKS="${SURVEYCAM_SOAK_TICKS:-900}"
else
  build="${SURVEYCAM_BUILD_DIR:-$here/build}"
  export SURVEYCAM_SOAK_TICKS="${SURVEYCAM_SOAK_TICKS:-18000}"
fi
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$jobs" --target test_soak
export SURVEYCAM_SOURCE_DIR="$here"
cd "$build/tests"
start=$(date +%s)
status=0
if ((use_valgrind)); then
  log="$build/valgrind-soak.log"
  echo "soak under valgrind: $SURVEYCAM_SOAK_TICKS ticks (log $log)"
  valgrind --tool=memcheck --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
    --suppressions="$here/scripts/valgrind.supp" --num-callers=30 --log-file="$log" \
    ./test_soak || status=$?
  grep -E "ERROR SUMMARY|definitely lost|indirectly lost|possibly lost|still reachable" "$log" | sed "s/^==[0-9]*== /  /"
else
  echo "soak: $SURVEYCAM_SOAK_TICKS ticks"
  ./test_soak || status=$?
fi
echo "soak: $(( $(date +%s) - start )) s, exit status $status"
exit $status
