#!/usr/bin/env bash
# The camview viewer under a virtual X server: starts Xvfb, runs
# `camview --window`, types keys and clicks with xdotool the way a user would,
# and judges the screenshots the viewer writes (P key) and one taken of the X
# screen itself.
#
# Usage: viewer_test.sh CAMVIEW OUT_DIR
# Exit status: 0 passed, 1 failed, 77 skipped (no Xvfb or xdotool here).
set -u

camview="$1"
out="$2"
python=/usr/bin/python3  # the system Python, which has PIL (python3-pil)
scale=2

for tool in Xvfb xdotool; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "viewer test skipped: $tool is not installed"
    exit 77
  fi
done
if ! "$python" -c "import PIL" 2>/dev/null; then
  echo "viewer test: $python has no PIL (install python3-pil)"
  exit 1
fi

rm -rf "$out"
mkdir -p "$out"
xvfb_pid=""
camview_pid=""
# Ends a process we started: politely, then for good after 3 s.
stop() {
  [[ -n "$1" ]] || return 0
  kill "$1" 2>/dev/null || return 0
  for _ in $(seq 30); do
    kill -0 "$1" 2>/dev/null || break
    sleep 0.1
  done
  kill -KILL "$1" 2>/dev/null
  wait "$1" 2>/dev/null
}
cleanup() {
  stop "$camview_pid"
  stop "$xvfb_pid"
}
trap cleanup EXIT
trap 'exit 1' TERM INT HUP  # the EXIT trap then still cleans up
fail() {
  echo "viewer test FAILED: $*"
  echo "--- camview output:"
  cat "$out/camview.log" 2>/dev/null
  exit 1
}

# A display number of Xvfb's own choosing, so parallel runs never collide.
exec 3>"$out/display"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp >"$out/xvfb.log" 2>&1 &
xvfb_pid=$!
exec 3>&-
for _ in $(seq 100); do
  [[ -s "$out/display" ]] && break
  kill -0 "$xvfb_pid" 2>/dev/null || fail "Xvfb did not start: $(cat "$out/xvfb.log")"
  sleep 0.1
done
[[ -s "$out/display" ]] || fail "Xvfb did not report its display"
export DISPLAY=":$(head -n1 "$out/display")"
export SDL_VIDEODRIVER=x11
# In a sanitizer build, leak checking is off for the viewer: SDL's window
# system libraries (the session bus) keep memory the leak checker cannot tell
# from a leak. camview's own leaks are checked by the session tests.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
echo "Xvfb on $DISPLAY"

"$camview" --window --scale "$scale" --out "$out" >"$out/camview.log" 2>&1 &
camview_pid=$!

window=""
for _ in $(seq 100); do
  window=$(xdotool search --name '^camview$' 2>/dev/null | head -n1)
  [[ -n "$window" ]] && break
  kill -0 "$camview_pid" 2>/dev/null || fail "camview ended before its window appeared"
  sleep 0.1
done
[[ -n "$window" ]] || fail "no camview window"
xdotool windowfocus --sync "$window" 2>/dev/null || xdotool windowfocus "$window"
eval "$(xdotool getwindowgeometry --shell "$window")"  # X Y WIDTH HEIGHT
[[ "$WIDTH" == $((320 * scale)) && "$HEIGHT" == $((240 * scale)) ]] ||
  fail "window is ${WIDTH}x${HEIGHT}, expected $((320 * scale))x$((240 * scale))"
sleep 0.5  # a few frames of the live picture

# Waits until the viewer's output holds a line matching $1.
expect_line() {
  for _ in $(seq 100); do
    grep -Eq "$1" "$out/camview.log" && return 0
    sleep 0.1
  done
  fail "no output line matching '$1'"
}
# P: the viewer writes OUT/viewer_N.png and reports it once it is complete.
shot() {
  xdotool key p
  expect_line "^screenshot viewer_$1 +ok"
  [[ -s "$out/viewer_$1.png" ]] || fail "P did not write viewer_$1.png"
}

shot 1                      # the wide camera as it starts
sleep 0.4
shot 2                      # no input: the same picture
xdotool key Right           # zoom in on the wide camera
sleep 0.4
shot 3
xdotool key 1               # the telescope's camera
sleep 0.4
xdotool key c m             # corner mode; a distance was measured
expect_line '^measure +ok'
# A click 10 window pixels right of and below the centre: a tap inside the
# allowed square, at client pixel (165, 125) at this scale.
xdotool mousemove --window "$window" $((160 * scale + 10)) $((120 * scale + 10)) click 1
expect_line '^tap 165 125 +ok +tap at \(165, 125\): aim by dV'
sleep 0.4
shot 4
"$python" - "$out/xscreen.png" <<'EOF' || fail "could not grab the X screen"
import os, sys
from PIL import ImageGrab
ImageGrab.grab(xdisplay=os.environ["DISPLAY"]).save(sys.argv[1])
EOF
# A message box shown since the tap (the corner search reports what it
# found) is drawn over the window for a while; the judge looks for it.
message=0
if sed -n '/^measure /,$p' "$out/camview.log" | grep -q 'message box'; then message=1; fi

# Judges the pictures: each viewer screenshot is the 320 x 240 screen; with
# no input the picture stays as it is (the scene is still and rendering is
# deterministic), zoom, the camera switch and the tap each change it; the X
# screen shows the last one, scaled up, where the window is.
"$python" - "$out" "$X" "$Y" "$scale" "$message" <<'EOF' || fail "the screenshots are not what the keys should give"
import sys
from PIL import Image, ImageChops, ImageStat

out, wx, wy, scale = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
message = sys.argv[5] == "1"
shots = [Image.open(f"{out}/viewer_{i}.png").convert("RGB") for i in (1, 2, 3, 4)]
def diff(a, b):  # mean absolute difference, worst channel, 0..255
    return max(ImageStat.Stat(ImageChops.difference(a, b)).mean)
ok = True
def bad(text):
    global ok
    print(text)
    ok = False
for i, s in enumerate(shots, 1):
    if s.size != (320, 240):
        bad(f"viewer_{i}.png is {s.size}")
    colours = s.getcolors(1 << 16)
    if colours is not None and len(colours) < 16:
        bad(f"viewer_{i}.png has only {len(colours)} colours: no live picture")
still, zoom, tele = diff(shots[0], shots[1]), diff(shots[1], shots[2]), diff(shots[2], shots[3])
print(f"mean change: no input {still:.2f}, zoom {zoom:.2f}, tele and tap {tele:.2f}")
if still > 0.5: bad("the picture changed without input")
if zoom < 2 or zoom < 10 * still: bad("zoom did not change the picture")
if tele < 2 or tele < 10 * still: bad("the camera switch did not change the picture")
# The tap mark: a green cross of +-10 client pixels around (165, 125).
tap = shots[3]
green = sum(1 for x in range(155, 176) if tap.getpixel((x, 125)) == (0, 255, 0))
green += sum(1 for y in range(115, 136) if tap.getpixel((165, y)) == (0, 255, 0))
print(f"{green} green pixels on the tap cross")
if green < 30: bad("no tap cross at the click")
# The X screen: the window's area, scaled back down, is the last screenshot,
# apart from the band of a message box over the middle of the screen.
x = Image.open(f"{out}/xscreen.png").convert("RGB")
window = x.crop((wx, wy, wx + 320 * scale, wy + 240 * scale)).resize((320, 240), Image.NEAREST)
top, bottom = (0, 0, 320, 90), (0, 150, 320, 240)
dx = max(diff(window.crop(r), tap.crop(r)) for r in (top, bottom))
print(f"X screen differs from viewer_4.png by {dx:.2f} outside the message band")
if dx > 1: bad("the window does not show the viewer's screen")
box = sum(1 for p in window.crop((8, 96, 312, 144)).getdata() if p == (255, 255, 224))
print(f"message box on screen: {box} pixels (a message was {'' if message else 'not '}shown)")
if message and box < 5000: bad("the message box is not on the screen")
if not message and box > 0: bad("a message box is on the screen without a message")
sys.exit(0 if ok else 1)
EOF

xdotool key q
for _ in $(seq 50); do
  kill -0 "$camview_pid" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$camview_pid" 2>/dev/null; then fail "Q did not end camview"; fi
wait "$camview_pid"
status=$?
camview_pid=""
[[ $status -eq 0 ]] || fail "camview ended with status $status"
echo "viewer test passed"
cat "$out/camview.log"
