#!/usr/bin/env python3
"""Runs camview on the simulated instrument to save one snapshot, then reads
the snapshot's metadata back with exiftool and with PIL and checks every
value camview says it stamped.

Usage: check_exif.py CAMVIEW WORK_DIR
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys

from PIL import Image

camview, work = sys.argv[1], pathlib.Path(sys.argv[2])
shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)
script = work / "session.txt"
script.write_text("turn 88.5 35.25\ncamera 0\nzoom in\nsnapshot\nsave\nresume\n"
                  "camera 1\nsnapshot\nsave\n")
shots = []
out = subprocess.run([camview, "--script", str(script), "--out", str(work / "out")],
                     capture_output=True, text=True, check=True).stdout
for line in out.splitlines():
    m = re.search(r"saved (.*\.jpg) .*; Exif (surveycam camera=(\w+) V=(\S+) H=(\S+) "
                  r"station=(\S+) zoom=(\S+)) f=(\S+) size=(\d+)x(\d+) taken=(.*)$", line)
    if m:
        shots.append(m.groups())
if len(shots) != 2:
    sys.exit("camview did not report two stamped snapshots:\n" + out)

failures = []
def expect(what, got, want):
    if got != want:
        failures.append(f"{what}: read {got!r}, stamped {want!r}")

for path, comment, camera, v, h, station, zoom, focal, width, height, taken in shots:
    tool = json.loads(subprocess.run(["exiftool", "-j", "-n", path], capture_output=True,
                                     text=True, check=True).stdout)[0]
    pil = Image.open(path).getexif()
    exif = pil.get_ifd(0x8769)
    user = exif[0x9286]
    for reader, tags in (
            ("exiftool", (tool["Model"], tool["DateTimeOriginal"], float(tool["FocalLength"]),
                          int(tool["ExifImageWidth"]), int(tool["ExifImageHeight"]),
                          float(tool["DigitalZoomRatio"]), tool["UserComment"])),
            ("PIL", (pil[0x0110], exif[0x9003], float(exif[0x920A]), exif[0xA002], exif[0xA003],
                     float(exif[0xA404]), user[8:].rstrip(b"\0").decode("ascii")))):
        expect(f"{reader} camera", tags[0], camera)
        expect(f"{reader} time", tags[1], taken)
        expect(f"{reader} focal length", round(tags[2], 4), float(focal))
        expect(f"{reader} size", (tags[3], tags[4]), (int(width), int(height)))
        expect(f"{reader} zoom", tags[5], float(zoom))
        expect(f"{reader} survey values", tags[6], comment)
    expect("UserComment charset", user[:8], b"ASCII\0\0\0")

# The session turned to V 88.5, H 35.25 and zoomed the tele camera in.
expect("tele angles", (shots[0][3], shots[0][4]), ("88.500000", "35.250000"))
expect("cameras", (shots[0][2], shots[1][2]), ("TELE", "WIDE"))
expect("tele focal length", shots[0][7], "248.4600")
for failure in failures:
    print("FAILED:", failure)
print(f"{len(shots)} snapshots checked, {len(failures)} problems")
sys.exit(1 if failures else 0)
