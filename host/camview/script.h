#pragma once
// The session script of camview: one step a line, words separated by blanks,
// '#' starts a comment. Steps:
//   turn V H            turn the instrument to zenith angle V, horizontal angle H (degrees)
//   nudge dV dH         turn by dV, dH degrees from where the instrument points
//   point NAME [dV dH]  turn to the survey point NAME, off by dV, dH degrees
//   camera N            0 tele, 1 wide
//   zoom in|out|reset
//   mode none|offset|corner|distance|rem|ccd|user
//   measure             a distance measurement was taken (corner mode accepts taps)
//   tap X Y             tap at client pixel (X, Y)
//   tap-target NAME     tap on the survey target NAME as the current camera shows it
//   aim                 turn the instrument by the aiming differences of the last tap
//                       (in corner mode, of the corner marked near it)
//   key NAME            LEFT RIGHT UP DOWN 1 2 3 9 (as KeyControl takes them)
//   exposure N          automatic exposure mode 0..3
//   scene dark|bright|normal
//   wait N              N timer ticks of 200 ms
//   settle              run timer ticks until the exposure stops changing (at most 60)
//   snapshot            freeze the picture
//   resume              end the snapshot
//   save                write the displayed picture as a JPEG on the card
//   export-camera PATH  write the camera file
//   export-orient PATH  write the orientation file
//   screenshot NAME     write the screen as NAME.png in the output folder
//   boards HALF GROUND  a target board of HALF metres (centre to edge) on every point but the
//                       stations, the ground at height GROUND (metres)
//   station NAME        set the instrument up on the station point NAME (code STN)
//   project-new NAME    create a photogrammetric project with the site's control points (CTRL)
//   project-photo       add the wide camera's picture to the project with the boards measured on it
//   project-solve [N]   solve each photograph's DLT (N controls at least, default 10), intersect
//                       the other points and compare the check targets (TGT): within 5 mm
#include <optional>
#include <string>
#include <vector>

namespace host {

struct Step {
  int line = 0;
  std::string verb;
  std::vector<std::string> args;
  std::string text;  // the line as written, for reports
};

struct ParseResult {
  std::vector<Step> steps;
  std::string error;  // empty when the script is valid
};

// Parses a script; an unknown verb or a wrong argument count is an error
// naming the line.
ParseResult ParseScript(const std::string& text);

// The session camview runs when no script is given.
const char* DefaultScript();

}  // namespace host
