#include "host/camview/session.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "camera/camera.h"
#include "camera/vkr3za_calib.h"
#include "devices/camera_sources.h"
#include "devices/capture_driver.h"
#include "devices/devices.h"
#include "devices/gst_frame_source.h"
#include "geometry/calc_xyz_hv.h"
#include "liveview/capture_wnd.h"
#include "liveview/snapshot_stamp.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/framebuffer.h"
#include "platform/fs.h"
#include "platform/message_table.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "platform/wnd.h"
#include "pointfiles/point_files.h"
#include "sim/calibration_memory.h"
#include "sim/instrument.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kCardKey[] = L"HKLM\\SYSTEM\\QZ7mInit\\Memory";
constexpr wchar_t kCardFolder[] = L"\\Storage Card";
constexpr wchar_t kLanguageFile[] = L"\\windows\\DispImgMsg.txt";
constexpr double kTelescopeFocal = 248.46;  // mm, the telescope's fixed optics
constexpr double kPi = 3.141592653589793;

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
  char buffer[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return buffer;
}

std::wstring Wide(const std::string& text) { return platform::Utf8ToWide(text); }

// A host file of the examples folder: relative to the working directory, or
// to the source tree camview was built from.
std::string ExamplePath(const std::string& given, const char* example) {
  if (!given.empty()) return given;
  if (fs::exists(example)) return example;
  return (fs::path(CAMVIEW_SOURCE_DIR) / example).string();
}

// Packed D.MMSS text of decimal degrees, as the instrument displays angles.
std::string Dms(double degrees) { return Format("%.4f", CCalcXYZHV::Angle100To60(degrees, 1)); }

struct KeyName {
  const char* name;
  UINT code;
};
constexpr KeyName kKeys[] = {{"LEFT", 37},
                             {"UP", 38},
                             {"RIGHT", 39},
                             {"DOWN", 40},
                             {"1", 49},
                             {"2", 50},
                             {"3", 51},
                             {"9", 57}};

}  // namespace

Session::Session(Options options) : options_(std::move(options)) {}

Session::~Session() { TearDown(); }

std::string Session::OutPath(const std::string& relative) const {
  fs::path p(relative);
  return p.is_absolute() ? p.string() : (fs::path(options_.out) / p).string();
}

bool Session::SetUp(std::string& error) {
  std::error_code ec;
  fs::create_directories(options_.out, ec);
  if (ec) {
    error = "cannot create the output folder " + options_.out + ": " + ec.message();
    return false;
  }
  std::string root = options_.root;
  if (root.empty()) {
    // The default device root is made afresh so every run starts alike.
    root = (fs::path(options_.out) / "device").string();
    fs::remove_all(root, ec);
  }
  fs::create_directories(root, ec);
  platform::fs::SetDeviceRoot(root);

  // Message boxes are printed and kept, so a step can check what it showed.
  previous_handler_ = platform::SetMessageBoxHandler([this](const platform::MessageBoxCall& call) {
    std::printf("    message box [%s] %s\n",
                platform::WideToUtf8(call.caption).c_str(),
                platform::WideToUtf8(call.text).c_str());
    messages_.push_back(call);
    return IDOK;
  });

  // The platform clock starts at the present time and then moves only with
  // the session's timer ticks, so a run is repeatable apart from its start.
  SYSTEMTIME now{};
  GetLocalTime(&now);
  platform::clock::SetLocal(now);

  devices::RegisterAll();
  platform::ResetDesktop();
  if (!platform::registry::SetString(kCardKey, L"PCMCIAFolder", kCardFolder)) {
    error = "cannot write the registry store in " + root;
    return false;
  }
  CreateDirectoryW(kCardFolder, nullptr);
  if (!options_.language.empty()) {
    CreateDirectoryW(L"\\windows", nullptr);
    fs::copy_file(options_.language,
                  platform::fs::HostPath(kLanguageFile),
                  fs::copy_options::overwrite_existing,
                  ec);
    if (ec) {
      error = "cannot install the language file " + options_.language + ": " + ec.message();
      return false;
    }
  }

  instrument_ = std::make_shared<sim::Instrument>();
  if (!LoadCalibration(error) || !LoadSite(error)) return false;
  StartSources();

  view_ = std::make_unique<CCaptureWnd>();
  if (GetFileAttributesW(kLanguageFile) != INVALID_FILE_ATTRIBUTES) {
    if (!view_->GetImageLangCode()) {
      error = "the language file could not be read";
      return false;
    }
  } else {
    view_->InitAppUseMessage();
  }
  // The whole 640 x 480 frame fits the 320 x 240 screen at zoom ratio 1.
  const RECT rect{0, 0, platform::Screen().width, platform::Screen().height};
  if (!view_->Create(platform::DesktopWindow(), rect, 0.5, 1.0, 4.0, WS_CHILD | WS_VISIBLE, 0)) {
    error = "the live view could not be created";
    return false;
  }
  platform::PumpMessages();
  Wait(1);
  view_->SetPoints(&points_);
  const sim::StationState state = instrument_->station().State();
  Turn(state.v_deg, state.h_deg);
  return true;
}

bool Session::LoadCalibration(std::string& error) {
  const std::string camera_path = ExamplePath(options_.camera_file, "examples/camera_wide.cmr");
  const std::string orient_path = ExamplePath(options_.orient_file, "examples/orient.txt");
  CCamera camera;
  if (!camera.Read(Wide(camera_path).c_str())) {
    error = "cannot read the camera file " + camera_path;
    return false;
  }
  VKR3ZA_CALIB orient;
  if (!orient.Read(Wide(orient_path).c_str())) {
    error = "cannot read the orientation file " + orient_path;
    return false;
  }
  const sim::Calibration c = sim::CalibrationFromFiles(camera, orient);
  instrument_->SetCalibration(c);
  // The instrument's memory holds what the factory calibration wrote: the
  // items the view reads when it starts.
  if (!sim::WriteCalibrationToMemory(c)) {
    error = "cannot write the calibration into the instrument's memory";
    return false;
  }
  std::printf("calibration: camera %s (f %.4f mm, model %d), orientation %s\n",
              camera_path.c_str(),
              c.focal_length,
              int(c.dist.GetDistModel()),
              orient_path.c_str());
  return true;
}

bool Session::LoadSite(std::string& error) {
  const std::string path = ExamplePath(options_.points, "examples/site.csv");
  CKvoArray<CXYZ, CXYZ&> all;
  if (!ReadCSVFile(Wide(fs::absolute(path).string()).c_str(), all, 1)) {
    error = "cannot read the point file " + path;
    return false;
  }
  int station = -1;
  for (int i = 0; i < all.GetSize() && station < 0; ++i)
    if (all[i].Code == L"STN") station = i;
  if (station < 0) station = 0;
  if (all.GetSize() < 2) {
    error = "the point file " + path + " needs a station and at least one target";
    return false;
  }
  station_ = all[station];
  instrument_height_ = station_.Num > 0 ? station_.Num / 1000.0 : 1.5;
  for (int i = 0; i < all.GetSize(); ++i)
    if (i != station) points_.Add(all[i]);

  sim::Station& s = instrument_->station();
  s.SetPosition(station_.X, station_.Y, station_.Z);
  s.SetInstrumentHeight(instrument_height_);
  sim::Scene scene = instrument_->scene();
  scene.set_ground_z(station_.Z - 2.0);
  scene.AddTargets(points_, 0.3);
  instrument_->SetScene(scene);
  std::printf("site: station %s at (%.3f, %.3f, %.3f), instrument height %.3f m, %d targets\n",
              platform::WideToUtf8(station_.Name.c_str()).c_str(),
              station_.X,
              station_.Y,
              station_.Z,
              instrument_height_,
              points_.GetSize());
  return true;
}

// Each camera films the simulator or its pipeline; one pipeline given for
// both cameras is one shared source. A pipeline that does not start stays
// installed: the live view then meets a failing capture unit and says so.
void Session::StartSources() {
  std::shared_ptr<devices::GstFrameSource> pipelines[2];
  for (int camera = 0; camera < 2; ++camera) {
    const std::string& pipeline = options_.source[camera];
    sources_[camera] = instrument_;
    if (pipeline.empty()) continue;
    if (camera == 1 && pipeline == options_.source[0]) {
      pipelines[1] = pipelines[0];
    } else {
      devices::GstSourceOptions source_options;
      source_options.loop = options_.loop;
      pipelines[camera] = std::make_shared<devices::GstFrameSource>(pipeline, source_options);
    }
    devices::GstFrameSource& gst = *pipelines[camera];
    sources_[camera] = pipelines[camera];
    const bool ready = gst.Ready(camera);
    std::printf("source: camera %d (%s) films '%s': %s\n",
                camera,
                camera == 0 ? "TELE" : "WIDE",
                pipeline.c_str(),
                !ready                   ? gst.Error().c_str()
                : gst.HasCameraControl() ? "playing, exposure on the camera's control"
                                         : "playing, exposure as a software gain");
  }
  devices::SetFrameSource(std::make_shared<devices::CameraSources>(sources_[0], sources_[1]));
}

StepResult Session::Unjudged(StepResult result, int camera) const {
  if (!IsReal(camera)) return result;
  result.summary += Format(" [not judged: camera %d shows real video]", camera);
  result.ok = true;
  return result;
}

void Session::Turn(double v, double h) {
  instrument_->station().SetAngles(v, h);
  // The view takes the station in the pipeline's axis order: survey X and Y
  // swapped, at the height of the telescope's axis.
  CXYZ axis(station_.Y, station_.X, station_.Z + instrument_height_);
  view_->SetMp(axis);
  view_->UpdateAngle(v, h);
}

void Session::Wait(int ticks) {
  for (int i = 0; i < ticks; ++i) platform::AdvanceTime(CCaptureWnd::kFrameTimerPeriodMs);
}

std::string Session::Screenshot(const std::string& name) {
  view_->InvalidateRect(nullptr, TRUE);
  platform::PumpMessages();
  platform::Present();
  const std::string path = OutPath(name + ".png");
  if (!platform::WritePng(platform::Screen(), path)) return {};
  return path;
}

const CXYZ* Session::FindTarget(const std::string& name) const {
  for (int i = 0; i < points_.GetSize(); ++i)
    if (platform::WideToUtf8(points_[i].Name.c_str()) == name) return &points_[i];
  return nullptr;
}

StepResult Session::Run(const Step& step) {
  const std::string& verb = step.verb;
  auto number = [&](size_t i) { return std::atof(step.args[i].c_str()); };
  if (verb == "turn") return Turn(step);
  if (verb == "point") return PointAt(step);
  if (verb == "nudge") {
    Step turn = step;
    turn.args = {Format("%.10f", view_->m_dCurV + number(0)),
                 Format("%.10f", view_->m_dCurH + number(1))};
    return Turn(turn);
  }
  if (verb == "camera") return Camera(step);
  if (verb == "zoom") return Zoom(step);
  if (verb == "mode") return Mode(step);
  if (verb == "measure") {
    view_->SetGetMeas();
    return {view_->StsGetMeas() == 1, "measurement taken: corner mode accepts taps"};
  }
  if (verb == "tap") return Tap(int(number(0)), int(number(1)));
  if (verb == "tap-target") return TapTarget(step);
  if (verb == "aim") return Unjudged(Aim(), 0);
  if (verb == "key") return Key(step);
  if (verb == "exposure") {
    view_->m_nAEMode = int(number(0));
    return {view_->m_nAEMode >= 0 && view_->m_nAEMode <= 3,
            Format("exposure mode %d", view_->m_nAEMode)};
  }
  if (verb == "scene") {
    const std::string& what = step.args[0];
    sim::Lighting lighting = what == "dark"     ? sim::Lighting::kDark
                             : what == "bright" ? sim::Lighting::kBright
                                                : sim::Lighting::kNormal;
    instrument_->SetLighting(lighting);
    std::string summary = "scene lighting " + what;
    if (IsReal(view_->GetCurCamera())) summary += " (simulator only: the camera shows real video)";
    return {what == "dark" || what == "bright" || what == "normal", summary};
  }
  if (verb == "wait") {
    Wait(int(number(0)));
    return {true,
            Format("%d ticks, exposure %d", int(number(0)), int(view_->m_StartParam.Brightness))};
  }
  if (verb == "settle") return Unjudged(Settle(), view_->GetCurCamera());
  if (verb == "snapshot") {
    view_->SnapShot();
    return {view_->GetSnapShot() == 1, "picture frozen"};
  }
  if (verb == "resume") {
    view_->EndSnapShot();
    return {view_->GetSnapShot() == 0, "picture live again"};
  }
  if (verb == "save") return Save();
  if (verb == "export-camera") return ExportCamera(step);
  if (verb == "export-orient") return ExportOrient(step);
  if (verb == "project-photo" || verb == "project-solve") return Unjudged(RunProjectStep(step), 1);
  if (IsProjectStep(verb)) return RunProjectStep(step);
  if (verb == "screenshot") {
    std::string path = Screenshot(step.args[0]);
    return {!path.empty(), "screen written to " + path};
  }
  return {false, "unknown step " + verb};
}

StepResult Session::Turn(const Step& step) {
  const double v = std::atof(step.args[0].c_str());
  const double h = std::atof(step.args[1].c_str());
  Turn(v, h);
  Wait(1);
  int visible = 0;
  view_->m_Proj.BeginTrans(0);
  for (int i = 0; i < points_.GetSize(); ++i) {
    double sx = 0, sy = 0;
    int vis = 0;
    if (view_->XYZtoScr(points_[i].Y, points_[i].X, points_[i].Z, sx, sy, vis) == 1 && vis)
      ++visible;
  }
  const bool ok = view_->m_dCurV == v && view_->m_dCurH == h;
  std::string summary =
      Format("V %s H %s (D.MMSS), %d of %d survey points in the wide camera's view",
             Dms(v).c_str(),
             Dms(h).c_str(),
             visible,
             points_.GetSize());
  if (view_->GetMode() == 1) {
    summary += Format("; offset dV %+.4f dH %+.4f", view_->m_dDV, view_->m_dDH);
  }
  return {ok, summary};
}

// Turns to a survey point's angles as the instrument computes them from the
// station, off by the given differences.
StepResult Session::PointAt(const Step& step) {
  const CXYZ* target = FindTarget(step.args[0]);
  if (!target) return {false, "no survey target named " + step.args[0]};
  double v = 0, h = 0;
  if (!CCalcXYZHV::XYZToHV(station_, *target, instrument_height_, v, h)) {
    return {false, step.args[0] + " stands on the station"};
  }
  const double dv = step.args.size() == 3 ? std::atof(step.args[1].c_str()) : 0.0;
  const double dh = step.args.size() == 3 ? std::atof(step.args[2].c_str()) : 0.0;
  Step turn = step;
  turn.args = {Format("%.10f", v + dv), Format("%.10f", h + dh)};
  StepResult result = Turn(turn);
  result.summary = Format("%s at V %s H %s, %.3f m away; ",
                          step.args[0].c_str(),
                          Dms(v).c_str(),
                          Dms(h).c_str(),
                          target->Len(station_)) +
                   result.summary;
  return result;
}

StepResult Session::Camera(const Step& step) {
  const int camera = std::atoi(step.args[0].c_str());
  view_->SetCurCamera(camera);
  Wait(1);
  const bool ok = view_->GetCurCamera() == camera;
  return {ok,
          Format("camera %d (%s), zoom ratio %.2f",
                 view_->GetCurCamera(),
                 view_->GetCurCamera() == 0 ? "TELE" : "WIDE",
                 view_->m_dZoomRatio[view_->GetCurCamera()])};
}

StepResult Session::Zoom(const Step& step) {
  const int camera = view_->GetCurCamera();
  const double before = view_->m_dZoomRatio[camera];
  const std::string& how = step.args[0];
  if (how == "in") {
    view_->ZoomIn();
  } else if (how == "out") {
    view_->ZoomOut();
  } else if (how == "reset") {
    view_->InitZoom();
  } else {
    return {false, "zoom takes in, out or reset"};
  }
  Wait(1);
  const double after = view_->m_dZoomRatio[camera];
  bool ok = how == "reset" ? after == view_->m_dMinZoom
            : how == "in"  ? after > before || before >= view_->m_dMaxZoom
                           : after < before || before <= view_->m_dMinZoom;
  return {ok,
          Format("zoom %s: ratio %.2f -> %.2f (scale %.2f)",
                 how.c_str(),
                 before,
                 after,
                 view_->m_dZoom[camera])};
}

StepResult Session::Mode(const Step& step) {
  const std::string& mode = step.args[0];
  const int before = view_->GetMode();
  switch (before) {  // leave the current mode first
    case 1:
      view_->EndOffsetMode();
      break;
    case 2:
      view_->EndCornerMode();
      break;
    case 3:
      view_->EndDistanceMode();
      break;
    case 4:
      view_->EndRemMode();
      break;
    case 5:
      view_->EndCCDAttachMode();
      break;
    case 6:
      view_->EndUserCCDMode();
      break;
    default:
      break;
  }
  int expected = 0;
  if (mode == "offset") {
    view_->BeginOffsetMode(view_->m_dCurV, view_->m_dCurH);
    expected = 1;
  } else if (mode == "corner") {
    view_->BeginCornerMode();
    expected = 2;
  } else if (mode == "distance") {
    view_->BeginDistanceMode();
    expected = 3;
  } else if (mode == "rem") {
    view_->BeginRemMode();
    expected = 4;
  } else if (mode == "ccd") {
    view_->SetCCDAttachMode();
    expected = 5;
  } else if (mode == "user") {
    view_->SetUserCCDMode();
    expected = 6;
  } else if (mode != "none") {
    return {false, "unknown mode " + mode};
  }
  Wait(1);
  if (expected == 0 && (before == 5 || before == 6)) expected = before;  // these stay set
  return {view_->GetMode() == expected, Format("mode %d (%s)", view_->GetMode(), mode.c_str())};
}

StepResult Session::Tap(int x, int y) {
  const size_t boxes = messages_.size();
  CPoint screen(x, y);
  view_->ClientToScreen(&screen);
  platform::InjectTap(screen.x, screen.y);
  platform::PumpMessages();
  Wait(1);
  std::string summary = Format("tap at (%d, %d): ", x, y);
  double dv = 0.0, dh = 0.0;
  if (view_->m_bTapped) {
    summary += Format("aim by dV %+.4f dH %+.4f degrees", view_->m_dDV, view_->m_dDH);
    if (view_->GetCornerMoveAng(dv, dh))
      summary += Format("; corner marked at (%d, %d): dV %+.4f dH %+.4f",
                        view_->m_ptCornerDrawn.x,
                        view_->m_ptCornerDrawn.y,
                        dv,
                        dh);
  } else {
    summary += messages_.size() > boxes ? "refused" : "not taken in this mode";
  }
  return {view_->m_bTapped == 1, summary};
}

// Taps where the tele camera shows the target: its sensor position (the
// simulator's ground truth) mapped through the display record to the screen.
StepResult Session::TapTarget(const Step& step) {
  const CXYZ* target = FindTarget(step.args[0]);
  if (!target) return {false, "no survey target named " + step.args[0]};
  if (view_->GetCurCamera() != 0) return {false, "tap-target works on the tele camera (camera 0)"};
  auto seen = instrument_->TeleSensorPoint(target->X, target->Y, target->Z);
  const VCAP_DISP_PARAMETER& disp = view_->m_DispParam[0];
  if (!seen) return {false, step.args[0] + " is behind the telescope"};
  const double scale = double(disp.DstRect.right - disp.DstRect.left + 1) /
                       double(disp.SrcRect.right - disp.SrcRect.left + 1);
  CPoint client(int(std::floor((seen->x - disp.SrcRect.left) * scale + disp.DstRect.left)),
                int(std::floor((seen->y - disp.SrcRect.top) * scale + disp.DstRect.top)));
  view_->ScreenToClient(&client);
  last_tap_target_ = step.args[0];
  StepResult result = Tap(client.x, client.y);
  result.summary = step.args[0] + ": " + result.summary;
  return result;
}

// Turns the telescope onto the corner marked near the tap in corner mode,
// else onto the tapped point: the differences are an elevation (up
// positive) and a clockwise horizontal turn.
StepResult Session::Aim() {
  double dv = view_->m_dDV, dh = view_->m_dDH;
  const bool corner = view_->GetCornerMoveAng(dv, dh) == 1;
  const double v = view_->m_dCurV - dv;
  const double h = view_->m_dCurH + dh;
  Turn(v, h);
  Wait(1);
  std::string summary = Format("turned onto the %s: V %s H %s",
                               corner ? "marked corner" : "tapped point",
                               Dms(v).c_str(),
                               Dms(h).c_str());
  if (last_tap_target_.empty()) return {true, summary};
  const CXYZ* target = FindTarget(last_tap_target_);
  auto seen = instrument_->TeleSensorPoint(target->X, target->Y, target->Z);
  if (!seen) return {false, summary + ", target lost"};
  const double dx = seen->x - (view_->m_nCenterX[0] + 0.5);
  const double dy = seen->y - (view_->m_nCenterY[0] + 0.5);
  // The reticle is judged on the screen: sensor pixels times the display scale.
  const double off_sensor = std::hypot(dx, dy);
  const double off_screen = off_sensor * view_->m_dZoom[0];
  double tv = 0, th = 0;
  CXYZ station(station_), point(*target);
  CCalcXYZHV::XYZToHV(station, point, instrument_height_, tv, th);
  summary +=
      Format(", %s is %.2f screen px (%.2f sensor px) from the reticle; its angles V %s H %s",
             last_tap_target_.c_str(),
             off_screen,
             off_sensor,
             Dms(tv).c_str(),
             Dms(th).c_str());
  return {off_screen <= 1.0, summary};
}

StepResult Session::Key(const Step& step) {
  for (const KeyName& key : kKeys) {
    if (step.args[0] != key.name) continue;
    view_->KeyControl(key.code);
    Wait(1);
    return {true,
            Format("key %s: camera %d, zoom ratio %.2f, exposure %d (mode %d), cursor %d",
                   key.name,
                   view_->GetCurCamera(),
                   view_->m_dZoomRatio[view_->GetCurCamera()],
                   int(view_->m_StartParam.Brightness),
                   view_->m_nAEMode,
                   view_->GetDispCursor())};
  }
  return {false, "unknown key " + step.args[0]};
}

// Runs timer ticks until the exposure value has not changed for three ticks.
StepResult Session::Settle() {
  if (view_->m_nAEMode < 1) view_->m_nAEMode = 1;
  const int start = view_->m_StartParam.Brightness;
  int previous = start, still = 0, ticks = 0;
  while (ticks < 60 && still < 3) {
    Wait(1);
    ++ticks;
    const int now = view_->m_StartParam.Brightness;
    still = now == previous ? still + 1 : 0;
    previous = now;
  }
  int max = 0, min = 0, mean = 0;
  view_->AE_CheckDensity(max, min, mean);
  const int settled_after = ticks - still;
  return {still >= 3 && settled_after <= 30,
          Format("exposure %d -> %d, settled after %d ticks (mean %d, min %d, max %d)",
                 start,
                 previous,
                 settled_after,
                 mean,
                 min,
                 max)};
}

StepResult Session::Save() {
  const size_t boxes = messages_.size();
  view_->WriteJpeg();
  bool saved = false;
  for (size_t i = boxes; i < messages_.size(); ++i)
    if (messages_[i].text == view_->m_pMessage->Text(platform::kMsgSavedOk)) saved = true;
  // The newest JPEG on the card.
  fs::path newest;
  fs::file_time_type newest_time{};
  std::error_code ec;
  for (const auto& e : fs::recursive_directory_iterator(platform::fs::HostPath(kCardFolder), ec)) {
    if (e.path().extension() == ".jpg" && (newest.empty() || e.last_write_time() >= newest_time)) {
      newest = e.path();
      newest_time = e.last_write_time();
    }
  }
  if (!saved || newest.empty()) return {false, "the snapshot was not saved"};
  const std::string copy = OutPath("snapshot.jpg");
  fs::copy_file(newest, copy, fs::copy_options::overwrite_existing, ec);
  const image::SnapshotTags t = liveview::LastStampedTags();
  const std::string exif =
      t.camera.empty() ? std::string("no Exif")
                       : Format("Exif %s f=%.4f size=%ux%u taken=%04u:%02u:%02u %02u:%02u:%02u",
                                image::ExifStamp::Comment(t).c_str(),
                                t.focalMm,
                                t.width,
                                t.height,
                                unsigned(t.taken.wYear),
                                unsigned(t.taken.wMonth),
                                unsigned(t.taken.wDay),
                                unsigned(t.taken.wHour),
                                unsigned(t.taken.wMinute),
                                unsigned(t.taken.wSecond));
  return {true,
          "saved " + newest.string() + " (" + std::to_string(fs::file_size(newest, ec)) +
              " bytes), copied to " + copy + "; " + exif};
}

StepResult Session::ExportCamera(const Step& step) {
  const std::string path = OutPath(step.args[0]);
  if (!view_->m_Camera.Write(Wide(path).c_str())) return {false, "cannot write " + path};
  CCamera check;
  const bool ok =
      check.Read(Wide(path).c_str()) && check.FocalLength == view_->m_Camera.FocalLength;
  return {ok,
          Format("camera file %s (f %.4f mm, distortion model %d)",
                 path.c_str(),
                 check.FocalLength,
                 int(check.Dist.GetDistModel()))};
}

StepResult Session::ExportOrient(const Step& step) {
  const std::string path = OutPath(step.args[0]);
  VKR3ZA_CALIB calib;
  calib.Ccd1CenterX = view_->m_nCenterX[1];
  calib.Ccd1CenterY = view_->m_nCenterY[1];
  calib.Ccd2CenterX = view_->m_nCenterX[0];
  calib.Ccd2CenterY = view_->m_nCenterY[0];
  calib.Ccd2Offset = view_->m_CcdOffset;
  calib.Ccd2Angle = view_->m_CcdAngle;
  if (!calib.Write(Wide(path).c_str())) return {false, "cannot write " + path};
  VKR3ZA_CALIB check;
  const bool ok = check.Read(Wide(path).c_str()) && check.Ccd1CenterX == calib.Ccd1CenterX;
  return {ok,
          Format("orientation file %s (CCD1 centre %d, %d; CCD2 centre %d, %d)",
                 path.c_str(),
                 calib.Ccd1CenterX,
                 calib.Ccd1CenterY,
                 calib.Ccd2CenterX,
                 calib.Ccd2CenterY)};
}

void Session::TearDown() {
  if (view_) {
    view_->SetPoints(nullptr);
    if (view_->GetSafeHwnd()) view_->DestroyWindow();
    platform::PumpMessages();
    view_.reset();
  }
  if (instrument_) {
    devices::SetFrameSource(nullptr);
    sources_[0].reset();
    sources_[1].reset();
    instrument_.reset();
  }
  if (previous_handler_) {
    platform::SetMessageBoxHandler(previous_handler_);
    previous_handler_ = nullptr;
  }
}

}  // namespace host
