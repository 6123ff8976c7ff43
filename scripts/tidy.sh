#!/usr/bin/env bash
# clang-tidy with the repository's .clang-tidy (bugprone-*, performance-*)
# over the library, devices, simulator and host sources, using the compile
# commands of build/ (or $SURVEYCAM_BUILD_DIR). Prints every warning and the
# count; fails when there is any (set SURVEYCAM_TIDY_ALLOW=1 to only report).
# Extra arguments are source files to check instead of all.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_BUILD_DIR:-$here/build}"
jobs="${SURVEYCAM_JOBS:-2}"
tidy="$(command -v clang-tidy || ls /usr/bin/clang-tidy-* 2>/dev/null | sort -V | tail -n1 || true)"
[[ -n "$tidy" ]] || { echo "tidy: clang-tidy not installed"; exit 1; }
[[ -f "$build/compile_commands.json" ]] || cmake -S "$here" -B "$build" -G Ninja >/dev/null
files=("$@")
if ((${#files[@]} == 0)); then
  mapfile -t files < <(cd "$here" && ls platform/*.cpp geometry/*.cpp camera/*.cpp projection/*.cpp \
    image/*.cpp corner/*.cpp pointfiles/*.cpp photogrammetry/*.cpp storage/*.cpp liveview/*.cpp devices/*.cpp sim/*.cpp host/*.cpp 2>/dev/null)
fi
# Checks switched off on top of .clang-tidy, because what they flag is the
# behaviour itself: rounding written as (int)(x + 0.5) is how the device
# rounds; handles are integers cast to pointers; HWND__ and friends are the
# Win32 handle tag names the public headers keep.
extra="-bugprone-incorrect-roundings,-performance-no-int-to-ptr,-bugprone-reserved-identifier"
out="$build/clang-tidy.log"
(cd "$here" && printf '%s\n' "${files[@]}" | xargs -P "$jobs" -n 4 "$tidy" -p "$build" --quiet --checks="$extra" \
   --header-filter="^$here/(platform|geometry|camera|projection|image|corner|files|liveview|devices|sim|host)/" \
   2>/dev/null) > "$out" || true
# One warning per distinct location and check (headers are seen many times).
{ grep -E '^/.*: warning: .*\[[a-z-]+.*\]$' "$out" || true; } | sort -u > "$out.unique"
count=$(wc -l < "$out.unique")
cat "$out.unique"
echo "tidy: $count warning(s) in ${#files[@]} file(s)"
[[ "$count" -eq 0 || -n "${SURVEYCAM_TIDY_ALLOW:-}" ]]
