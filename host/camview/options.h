#pragma once
// Command-line options of camview.
#include <string>

namespace host {

struct Options {
  std::string script;       // session script (empty: the default session)
  std::string points;       // site point file (host path)
  std::string root;         // device root (empty: <out>/device, made afresh)
  std::string out = "out";  // screenshots, exported files
  std::string camera_file;  // camera calibration (.cmr)
  std::string orient_file;  // orientation calibration file
  std::string language;     // language file copied to \windows\DispImgMsg.txt
  std::string source[2];    // GStreamer pipeline per camera (empty: the simulator)
  bool loop = true;         // a video file starts again at its end (false: holds)
  bool window = false;      // interactive viewer
  int scale = 3;            // viewer window scale
  bool help = false;
};

// Parses argv; false with a message in `error` on a bad option.
bool ParseOptions(int argc, char** argv, Options& options, std::string& error);
const char* UsageText();

}  // namespace host
