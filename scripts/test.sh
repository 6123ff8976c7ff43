#!/usr/bin/env bash
# Sets everything up, builds, and runs every test: the ctest suite and a short
# libFuzzer run of each parser under AddressSanitizer.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_BUILD_DIR:-$here/build}"
bash "$here/scripts/setup.sh"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)" --timeout 600
bash "$here/scripts/fuzz.sh" "${SURVEYCAM_FUZZ_SECONDS:-20}"
