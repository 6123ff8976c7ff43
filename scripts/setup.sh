#!/usr/bin/env bash
# Installs the Debian packages surveycam needs (only those missing), then
# configures and builds into build/ (or $SURVEYCAM_BUILD_DIR).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${SURVEYCAM_BUILD_DIR:-$here/build}"

packages=(
  build-essential cmake ninja-build ccache pkg-config clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libjpeg62-turbo-dev libjpeg-turbo-progs libexif-dev libimage-exiftool-perl
  libpng-dev zlib1g-dev libfreetype-dev fonts-dejavu-core
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base
  gstreamer1.0-plugins-good gstreamer1.0-libav gstreamer1.0-tools
  libsdl2-dev xvfb xdotool python3 python3-pil imagemagick locales valgrind clang-tidy clang-format
  libopencv-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  sudo_cmd=()
  if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo); fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build"
