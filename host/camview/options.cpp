#include "host/camview/options.h"

#include <cstdlib>
#include <cstring>

namespace host {

const char* UsageText() {
  return R"(camview: the surveycam live view on the simulated instrument.

Usage: camview [options]

With no options camview runs the default field session: it creates the live
view over the simulated instrument, loads the site's survey points, turns the
instrument, shows the points on the wide camera, zooms, switches to the tele
camera, uses offset and corner modes, taps a target and aims at it, lets auto
exposure settle, freezes and saves a snapshot, and exports the calibration.
It prints one line per step and writes a screenshot after each step.

Options:
  --script FILE        run the steps of FILE instead of the default session
  --points FILE        site point file (default examples/site.csv); the point
                       with code STN is the station, its Num column the
                       instrument height in millimetres
  --root DIR           device root (default OUT/device, recreated each run)
  --out DIR            output folder for screenshots and exports (default out)
  --camera-file FILE   camera calibration file (default examples/camera_wide.cmr)
  --orient-file FILE   orientation file (default examples/orient.txt): image
                       centres and the wide camera's offset and mounting angles
  --language FILE      language file (UTF-16 LE pairs) to install as
                       \windows\DispImgMsg.txt
  --source [N=]PIPELINE  film camera N (0 tele, 1 wide; without N both) through
                       a GStreamer pipeline instead of the simulator, e.g.
                       'v4l2src device=/dev/video0', 'filesrc location=F !
                       decodebin', 'videotestsrc pattern=smpte'; steps whose
                       check needs the simulator's ground truth then report
                       their figures without judging them
  --at-end loop|hold   at the end of a video file start again (default) or
                       hold the last frame
  --window             show the screen in a window and take keys and clicks
  --scale N            window scale for --window (default 3)
  --help               this text

Session script: one step a line, '#' starts a comment.
  turn V H             turn the instrument to zenith angle V, horizontal angle H
  nudge dV dH          turn by dV, dH degrees
  point NAME [dV dH]   turn to the survey point NAME (off by dV, dH degrees)
  camera N             0 tele, 1 wide
  zoom in|out|reset    zoom the current camera
  mode none|offset|corner|distance|rem|ccd|user
  measure              a distance measurement was taken (corner mode taps)
  tap X Y              tap at client pixel X Y
  tap-target NAME      tap on the survey target NAME where the tele camera shows it
  aim                  turn the instrument by the differences of the last tap
                       (in corner mode, of the corner marked near it)
  key NAME             LEFT RIGHT UP DOWN 1 2 3 9, as the view's keys
  exposure N           automatic exposure mode 0 (manual), 1, 2 or 3
  scene dark|bright|normal
  wait N               let N timer ticks of 200 ms pass
  settle               run ticks until auto exposure stops changing
  snapshot | resume    freeze the picture / go live again
  save                 save the displayed picture as a JPEG on the card
  export-camera PATH   write the camera file (relative paths go into OUT)
  export-orient PATH   write the orientation file
  screenshot NAME      write the screen as NAME.png into OUT
  boards HALF GROUND   put a target board of HALF m (centre to edge) on every
                       point but the stations, the ground at height GROUND m
  station NAME         set the instrument up on the station point NAME
  project-new NAME     create a photogrammetric project with the control
                       points (code CTRL) in the instrument's memory
  project-photo        add the wide camera's picture to the project with the
                       image coordinates of the boards measured on it
  project-solve [N]    solve each photograph's DLT from N control points at
                       least (default 10), intersect the other points, and
                       check the targets coded TGT: each within 5 mm

Viewer keys (--window): arrows, 1, 2, 3, 9 go to the view; W/A/S/D turn the
instrument, O offset mode, C corner mode, M measurement taken, N no mode,
F freeze/resume, J save a JPEG, P screenshot, Q or Esc quit; a click taps.

Exit status: 0 when every step did what it should, 1 otherwise. With a real
source the steps that cannot be judged count when they ran.
)";
}

bool ParseOptions(int argc, char** argv, Options& options, std::string& error) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= argc) {
        error = arg + " needs a value";
        return false;
      }
      out = argv[++i];
      return true;
    };
    if (arg == "--help" || arg == "-h") {
      options.help = true;
    } else if (arg == "--window") {
      options.window = true;
    } else if (arg == "--script") {
      if (!value(options.script)) return false;
    } else if (arg == "--points") {
      if (!value(options.points)) return false;
    } else if (arg == "--root") {
      if (!value(options.root)) return false;
    } else if (arg == "--out") {
      if (!value(options.out)) return false;
    } else if (arg == "--camera-file") {
      if (!value(options.camera_file)) return false;
    } else if (arg == "--orient-file") {
      if (!value(options.orient_file)) return false;
    } else if (arg == "--source") {
      std::string text;
      if (!value(text)) return false;
      const bool one = text.size() > 2 && (text[0] == '0' || text[0] == '1') && text[1] == '=';
      for (int camera = 0; camera < 2; ++camera)
        if (!one || text[0] - '0' == camera) options.source[camera] = one ? text.substr(2) : text;
    } else if (arg == "--at-end") {
      std::string text;
      if (!value(text)) return false;
      if (text != "loop" && text != "hold") {
        error = "--at-end takes loop or hold";
        return false;
      }
      options.loop = text == "loop";
    } else if (arg == "--language") {
      if (!value(options.language)) return false;
    } else if (arg == "--scale") {
      std::string text;
      if (!value(text)) return false;
      options.scale = std::atoi(text.c_str());
      if (options.scale < 1 || options.scale > 8) {
        error = "--scale takes 1 to 8";
        return false;
      }
    } else {
      error = "unknown option " + arg + " (see --help)";
      return false;
    }
  }
  return true;
}

}  // namespace host
