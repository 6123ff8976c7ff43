// surveycam-calib: camera calibrations between the camera file (.cmr) and
// OpenCV (cv::FileStorage YAML or JSON) or COLMAP (cameras.txt).
//
//   surveycam-calib import <calibration> <camera.cmr> --pixel-size MM [options]
//   surveycam-calib export <camera.cmr> <calibration> [--size WxH] [options]
//
// The other side's format follows the file name: .yml/.yaml (OpenCV YAML),
// .json (OpenCV JSON), .txt (COLMAP cameras.txt); --format yaml|json|colmap
// overrides it. Conventions and refusals: camera/calib_interop.h.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "camera/calib_interop.h"
#include "platform/safe_file.h"
#include "platform/text.h"

namespace {

const char kUsage[] =
    "usage: surveycam-calib import <calibration> <camera.cmr> --pixel-size MM [options]\n"
    "       surveycam-calib export <camera.cmr> <calibration> [--size WxH] [options]\n"
    "options:\n"
    "  --format yaml|json|colmap  the calibration's format (default: from its extension)\n"
    "  --pixel-size MM            import: x pixel pitch in mm/pixel (required)\n"
    "  --size WxH                 export: sensor size in pixels (default 640x480)\n"
    "  --camera-id N              COLMAP camera to read (default: the first) or to write (default "
    "1)\n"
    "  --model N                  import: our lens model 0, 2 or 3 (default: the counterpart)\n"
    "  --tolerance PX             largest disagreement accepted without --fit (default 0.01)\n"
    "  --fit                      refit a model without a counterpart by least squares\n";

enum class Format { kYaml, kJson, kColmap, kUnknown };

Format FormatOf(const std::string& name) {
  if (name == "yaml" || name == "yml") return Format::kYaml;
  if (name == "json") return Format::kJson;
  if (name == "colmap" || name == "txt") return Format::kColmap;
  return Format::kUnknown;
}

Format FormatOfPath(const std::string& path) {
  const size_t dot = path.rfind('.');
  return dot == std::string::npos ? Format::kUnknown : FormatOf(path.substr(dot + 1));
}

std::wstring Wide(const std::string& s) { return platform::Utf8ToWide(s); }

int Fail(const std::string& message, int code = 1) {
  std::fprintf(stderr, "surveycam-calib: %s\n", message.c_str());
  return code;
}

int Import(const std::string& from,
           const std::string& to,
           Format format,
           int camera_id,
           const calib::Options& opt) {
  std::string text, error;
  std::ifstream file(from, std::ios::binary);
  std::stringstream bytes;
  if (!file || !(bytes << file.rdbuf())) return Fail("cannot read " + from);
  text = bytes.str();
  calib::Intrinsics in;
  const int ok = format == Format::kColmap ? calib::ReadColmap(text, camera_id, in, error)
                                           : calib::ReadOpenCv(text, in, error);
  if (!ok) return Fail(from + ": " + error);
  CCamera camera;
  calib::Report report;
  if (!calib::ToCamera(in, opt, camera, report)) return Fail("refused: " + report.message);
  if (!camera.Write(Wide(to).c_str())) return Fail("cannot write " + to);
  std::printf("%s -> %s: %s\n", from.c_str(), to.c_str(), report.message.c_str());
  return 0;
}

int Export(const std::string& from,
           const std::string& to,
           Format format,
           int camera_id,
           const calib::Options& opt) {
  CCamera camera;
  if (!camera.Read(Wide(from).c_str())) return Fail("cannot read the camera file " + from);
  calib::Intrinsics out;
  calib::Report report;
  if (!calib::FromCamera(camera, opt, out, report)) return Fail("refused: " + report.message);
  std::string text, error;
  if (format == Format::kColmap) {
    if (!calib::WriteColmap(out, camera_id < 0 ? 1 : camera_id, text, error))
      return Fail("refused: " + error);
  } else {
    text = calib::WriteOpenCv(out, format == Format::kJson);
  }
  if (!platform::SafeFile::WriteAll(Wide(to).c_str(), text)) return Fail("cannot write " + to);
  std::printf("%s -> %s: %s\n", from.c_str(), to.c_str(), report.message.c_str());
  return 0;
}

// The whole text is one number (the C locale: '.' is the decimal point).
bool ParseDouble(const char* text, double& v) {
  char* end = nullptr;
  v = std::strtod(text, &end);
  return end != text && *end == '\0';
}

bool ParseLong(const char* text, long lo, long hi, long& v) {
  char* end = nullptr;
  v = std::strtol(text, &end, 10);
  return end != text && *end == '\0' && v >= lo && v <= hi;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return Fail(kUsage, 2);
  const std::string command = argv[1], from = argv[2], to = argv[3];
  calib::Options opt;
  std::string format_name;
  int camera_id = -1;
  for (int i = 4; i < argc; ++i) {
    const std::string arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    long n = 0;
    bool ok = true;
    if (arg == "--fit") {
      opt.fit = true;
      continue;
    }
    if (!value) return Fail(arg + " needs a value\n" + kUsage, 2);
    ++i;
    if (arg == "--format")
      format_name = value;
    else if (arg == "--pixel-size")
      ok = ParseDouble(value, opt.pixel_size_mm);
    else if (arg == "--tolerance")
      ok = ParseDouble(value, opt.tolerance_px);
    else if (arg == "--camera-id") {
      ok = ParseLong(value, 0, 1L << 31, n);
      camera_id = int(n);
    } else if (arg == "--model") {
      ok = ParseLong(value, 0, 4, n);
      opt.model = int(n);
    } else if (arg == "--size")
      ok = std::sscanf(value, "%dx%d", &opt.width, &opt.height) == 2;
    else
      return Fail("unknown option " + arg + "\n" + kUsage, 2);
    if (!ok) return Fail("bad value for " + arg + ": " + value, 2);
  }
  const bool importing = command == "import";
  if (!importing && command != "export") return Fail(kUsage, 2);
  const std::string& other = importing ? from : to;
  const Format format = format_name.empty() ? FormatOfPath(other) : FormatOf(format_name);
  if (format == Format::kUnknown)
    return Fail("cannot tell the format of " + other + "; use --format", 2);
  return importing ? Import(from, to, format, camera_id, opt)
                   : Export(from, to, format, camera_id, opt);
}
