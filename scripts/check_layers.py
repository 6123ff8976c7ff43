#!/usr/bin/env python3
"""Holds every source file to the layering of the build.

Usage: check_layers.py USES_FILE SOURCE_DIR

USES_FILE has one line a folder, "folder: below1 below2", as the build
records them: the folders whose headers the folder's files may include
directly. A folder may also use what those folders use. The check fails when
the declared uses form a cycle, or when a file includes a header of a folder
it may not use.
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([A-Za-z_]+)/[^"]+"', re.MULTILINE)


def read_uses(path):
    uses = {}
    for line in pathlib.Path(path).read_text().splitlines():
        name, _, below = line.partition(":")
        uses.setdefault(name.strip(), set()).update(below.split())
    return uses


def reachable(uses, name, trail=()):
    """The folders `name` may use; raises ValueError on a cycle."""
    if name in trail:
        raise ValueError(" -> ".join(trail + (name,)))
    found = set()
    for below in uses.get(name, ()):
        found |= {below} | reachable(uses, below, trail + (name,))
    return found


def main(uses_file, source_dir):
    uses = read_uses(uses_file)
    root = pathlib.Path(source_dir)
    failures = []
    for name in sorted(uses):
        try:
            allowed = reachable(uses, name) | {name}
        except ValueError as cycle:
            failures.append(f"the folders use each other in a cycle: {cycle}")
            continue
        for path in sorted((root / name).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            text = path.read_text(errors="replace")
            for match in INCLUDE.finditer(text):
                folder = match.group(1)
                if folder in uses and folder not in allowed:
                    line = text.count("\n", 0, match.start()) + 1
                    failures.append(
                        f"{path.relative_to(root)}:{line}: includes {folder}/, "
                        f"a layer above {name}/ (it may use: {', '.join(sorted(allowed - {name})) or 'nothing'})")
    for failure in failures:
        print(failure)
    print(f"{len(uses)} folders checked, {len(failures)} problems")
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
