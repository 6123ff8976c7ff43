#!/usr/bin/env bash
# Sets everything up, builds, and runs the main job: the camview default
# session on the simulated instrument (screenshots and files go to out/).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_BUILD_DIR:-$here/build}"
bash "$here/scripts/setup.sh"
cd "$here"
if [[ -x "$build/host/camview" ]]; then
  exec "$build/host/camview" "$@"
fi
exec "$build/host/surveycam-demo" "$here/examples/site.csv"
