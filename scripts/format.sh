#!/usr/bin/env bash
# Formats every C++ source of the tree with clang-format (.clang-format).
#   bash scripts/format.sh           rewrite the files in place
#   bash scripts/format.sh --check   change nothing; fail and list the files
#                                    that are not formatted (CI runs this)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
format="$(command -v clang-format-14 || command -v clang-format || true)"
if [[ -z $format ]]; then
  echo "format.sh: clang-format is not installed (bash scripts/setup.sh installs it)" >&2
  exit 2
fi
mapfile -t files < <(git ls-files '*.cpp' '*.h' | grep -v '^fuzz/corpus/')
if [[ ${1:-} == --check ]]; then
  bad=()
  for f in "${files[@]}"; do
    "$format" --dry-run --Werror "$f" >/dev/null 2>&1 || bad+=("$f")
  done
  if ((${#bad[@]})); then
    printf 'not formatted: %s\n' "${bad[@]}"
    echo "format.sh: ${#bad[@]} of ${#files[@]} files need 'bash scripts/format.sh'" >&2
    exit 1
  fi
  echo "format.sh: all ${#files[@]} files formatted"
else
  "$format" -i "${files[@]}"
fi
