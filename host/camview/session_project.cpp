// camview's photogrammetric steps: target boards on the site, moving the
// instrument between stations, and a project whose photographs are grabbed
// from the live view, measured on their pixels and solved into coordinates.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "devices/frame_source.h"
#include "host/camview/session.h"
#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "photogrammetry/board_centre.h"
#include "platform/fs.h"
#include "platform/text.h"
#include "sim/instrument.h"
#include "storage/photogrammetry_job.h"

namespace host {
namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;
using platform::FormatA;

constexpr int kWide = 1;
constexpr wchar_t kGrabFile[] = L"\\Storage Card\\project_grab.jpg";
constexpr double kCheckTolerance = 0.005;  // m: every check target must come this close
constexpr int kDefaultMinControls = 10;    // fewer controls on a photograph leave its DLT loose
constexpr double kReach = 1.5;             // px: how far the board search looks from the guess

std::string Utf8(const wchar_t* text) { return platform::WideToUtf8(text); }

// Linear light of a 24-bit grab, top row first. The grab spreads the
// sensor's 5-6-5 codes over 0..255; the codes are recovered and the sensor's
// display gamma of 1/2.2 undone, with the weights the sensor word carries
// its components in (bits 15-11 first).
std::vector<float> LinearLight(const CDibEx& picture, int& width, int& height) {
  const CSize size = picture.GetDimensions();
  width = size.cx;
  height = std::abs(size.cy);
  float lin5[256], lin6[256];
  for (int b = 0; b < 256; ++b) {
    lin5[b] = float(std::pow(std::lround(b * 31 / 255.0) / 31.0, 2.2));
    lin6[b] = float(std::pow(std::lround(b * 63 / 255.0) / 63.0, 2.2));
  }
  std::vector<float> light(size_t(width) * size_t(height));
  const DWORD stride = picture.GetByteWidth();
  for (int y = 0; y < height; ++y) {
    const int row = size.cy > 0 ? height - 1 - y : y;  // a positive height is stored bottom-up
    const BYTE* bits = picture.m_imageBits + size_t(row) * stride;
    for (int x = 0; x < width; ++x) {
      const BYTE* p = bits + 3 * x;
      light[size_t(y) * size_t(width) + size_t(x)] =
          0.3f * lin5[p[0]] + 0.59f * lin6[p[1]] + 0.11f * lin5[p[2]];
    }
  }
  return light;
}

// Where the wide camera shows a point (survey axes), in continuous sensor
// coordinates, from the live view's own projection. XYZtoScr gives whole
// client pixels at the display scale; undoing its mapping gives the middle of
// the sensor pixels that land on that client pixel, within 1 / (2 scale)
// sensor pixels of the point: good enough to say where to look.
bool SensorGuess(CCaptureWnd& view, const sim::Target& t, double& px, double& py) {
  double sx = 0, sy = 0;
  int visible = 0;
  if (view.XYZtoScr(t.y, t.x, t.z, sx, sy, visible) != 1 || !visible)
    return false;  // pipeline axes
  CPoint screen{int(sx), int(sy)};
  view.ClientToScreen(&screen);
  CRect client;
  view.GetClientRect(&client);
  view.ClientToScreen(&client);
  const int mid_x = client.left + (client.right - client.left) / 2;
  const int mid_y = client.top + (client.bottom - client.top) / 2;
  const double s = view.m_dZoom[kWide];
  double cx = view.m_nCenterX[kWide], cy = view.m_nCenterY[kWide];
  if (view.m_StartParam.Reverse) {
    cx = devices::kFrameWidth - cx - 0.5;
    cy = devices::kFrameHeight - cy - 0.5;
  }
  px = (screen.x - (mid_x - int(s * cx)) + 0.5) / s;
  py = (screen.y - (mid_y - int(s * cy)) + 0.5) / s;
  return true;
}

// Takes a measured picture point (continuous sensor pixels, y down) to where
// the ideal, undistorted camera would show it: the DLT is a central
// projection and knows no lens distortion. In millimetres about the principal
// point (y up) the ray a pixel sees is the measured position plus the
// camera's distortion there.
void RemoveDistortion(const CCamera& camera, double& px, double& py) {
  const double x = px * camera.Resolution.X - camera.PrincipalPoint.X;
  const double y = camera.PrincipalPoint.Y - py * camera.Resolution.Y;
  double dx = 0.0, dy = 0.0;
  camera.Dist.CalDist(x, y, dx, dy);
  px = (x + dx + camera.PrincipalPoint.X) / camera.Resolution.X;
  py = (camera.PrincipalPoint.Y - (y + dy)) / camera.Resolution.Y;
}

struct Board {
  const sim::Target* target;
  double x, y;  // where to look, sensor pixels
  double half;  // centre to edge, sensor pixels
};

struct Measured {
  PointArray image;  // Name, x, y in sensor pixels (y down)
  int in_view = 0;   // boards (other than stations) the camera shows
};

// Measures every board in the picture that no other board crowds and that
// lies inside the picture: its centre by the board's point symmetry, freed
// of the lens distortion.
Measured MeasureBoards(const std::vector<Board>& boards,
                       const photogrammetry::BoardImage& image,
                       const std::vector<std::wstring>& stations,
                       const CCamera& camera) {
  Measured m;
  for (const Board& b : boards) {
    const std::wstring& name = b.target->name;
    if (std::find(stations.begin(), stations.end(), name) != stations.end()) continue;
    if (b.x < 0 || b.y < 0 || b.x > image.width || b.y > image.height) continue;
    ++m.in_view;
    bool crowded = false;
    for (const Board& o : boards) {
      const double gap = std::max(std::fabs(o.x - b.x), std::fabs(o.y - b.y));
      if (&o != &b && gap < b.half + o.half + 3) crowded = true;
    }
    double x = 0, y = 0;
    if (crowded || !photogrammetry::FindBoardCentre(image, b.x, b.y, b.half, kReach, x, y))
      continue;
    RemoveDistortion(camera, x, y);
    CXYZ p(CString(name.c_str()), x, y, 0.0);
    m.image.Add(p);
  }
  return m;
}

}  // namespace

bool Session::IsProjectStep(const std::string& verb) {
  return verb == "boards" || verb == "station" || verb == "project-new" ||
         verb == "project-photo" || verb == "project-solve";
}

StepResult Session::RunProjectStep(const Step& step) {
  const std::string& verb = step.verb;
  if (verb == "boards") return Boards(step);
  if (verb == "station") return MoveToStation(step);
  if (verb == "project-new") return ProjectNew(step);
  if (verb == "project-photo") return ProjectPhoto();
  if (verb == "project-solve") return ProjectSolve(step);
  return {false, "unknown step " + verb};
}

CKvoArray<CXYZ, CXYZ&> Session::PointsCoded(const wchar_t* code) const {
  PointArray coded;
  for (int i = 0; i < points_.GetSize(); ++i)
    if (points_[i].Code == code) {
      CXYZ p = points_[i];
      coded.Add(p);
    }
  return coded;
}

// The stations are the point the session started on and every other point
// coded STN; they are gathered before the first move.
void Session::GatherStations() {
  if (!stations_.empty()) return;
  stations_.push_back(station_);
  for (int i = 0; i < points_.GetSize(); ++i)
    if (points_[i].Code == L"STN") stations_.push_back(points_[i]);
}

const CXYZ* Session::FindStation(const std::string& name) {
  GatherStations();
  for (const CXYZ& s : stations_)
    if (Utf8(s.Name.c_str()) == name) return &s;
  return nullptr;
}

// Puts a board of the given half size on every survey point but the
// stations (which carry the instrument) and lays the ground at a height.
StepResult Session::Boards(const Step& step) {
  const double half = std::atof(step.args[0].c_str());
  const double ground = std::atof(step.args[1].c_str());
  if (!(half > 0.0)) return {false, "a board needs a positive half size"};
  GatherStations();
  PointArray targets;
  for (int i = 0; i < points_.GetSize(); ++i)
    if (points_[i].Code != L"STN") targets.Add(points_[i]);
  sim::Scene scene = instrument_->scene();
  scene.ClearTargets();
  scene.AddTargets(targets, half);
  scene.set_ground_z(ground);
  instrument_->SetScene(scene);
  Wait(1);
  return {true,
          FormatA("%d boards of %.3f m from centre to edge, ground at %.3f m, %d stations",
                  targets.GetSize(),
                  half,
                  ground,
                  int(stations_.size()))};
}

// Sets the instrument up on another station: the simulator's position and
// instrument height (the point's Num, millimetres) and the view's station.
StepResult Session::MoveToStation(const Step& step) {
  const CXYZ* station = FindStation(step.args[0]);
  if (!station) return {false, "no station (code STN) named " + step.args[0]};
  station_ = *station;
  instrument_height_ = station_.Num > 0 ? station_.Num / 1000.0 : 1.5;
  sim::Station& s = instrument_->station();
  s.SetPosition(station_.X, station_.Y, station_.Z);
  s.SetInstrumentHeight(instrument_height_);
  Turn(view_->m_dCurV, view_->m_dCurH);  // tells the view the new station
  Wait(1);
  const sim::StationState state = s.State();
  const bool ok = state.x == station_.X && state.y == station_.Y && state.z == station_.Z &&
                  state.instrument_height == instrument_height_;
  return {ok,
          FormatA("station %s at (%.3f, %.3f, %.3f), instrument height %.3f m",
                  step.args[0].c_str(),
                  state.x,
                  state.y,
                  state.z,
                  state.instrument_height)};
}

// Creates the project in the instrument's memory with the site's control
// points (code CTRL).
StepResult Session::ProjectNew(const Step& step) {
  PointArray control = PointsCoded(L"CTRL");
  if (control.GetSize() < 6) {
    return {
        false,
        FormatA("the site has %d control points (code CTRL); a DLT needs six", control.GetSize())};
  }
  auto project = std::make_unique<CProject>();
  const std::wstring name = platform::Utf8ToWide(step.args[0]);
  if (!project->Create(name.c_str())) return {false, "cannot create the project " + step.args[0]};
  if (!project->SetControlPoints(control)) return {false, "cannot write the control points"};
  // The camera the image coordinates are freed of lens distortion with.
  if (!project->SetCamera(view_->m_Camera)) return {false, "cannot write the camera file"};
  project_ = std::move(project);
  return {true,
          FormatA("project %s in %s with %d control points",
                  step.args[0].c_str(),
                  Utf8(project_->GetFolder()).c_str(),
                  control.GetSize())};
}

// Grabs the wide camera's picture, measures the boards it shows and adds it
// to the project with their image coordinates.
StepResult Session::ProjectPhoto() {
  if (!project_) return {false, "no project: run project-new first"};
  if (view_->GetCurCamera() != kWide)
    return {false, "project-photo takes the wide camera's picture (camera 1)"};
  CDibEx picture;
  view_->GetCapture(picture);
  if (!picture.m_infoHeader || !picture.m_imageBits)
    return {false, "the picture could not be grabbed"};
  int width = 0, height = 0;
  const std::vector<float> light = LinearLight(picture, width, height);

  const sim::StationState s = instrument_->station().State();
  const CXYZ eye(s.x, s.y, s.z + s.instrument_height);
  const double focal_px = view_->m_Camera.FocalLength / view_->m_Camera.Resolution.X;
  const sim::Scene scene = instrument_->scene();
  std::vector<Board> boards;
  view_->m_Proj.BeginTrans(0);
  for (const sim::Target& t : scene.targets()) {
    Board b{&t, 0, 0, t.half_size / eye.Len(CXYZ(t.x, t.y, t.z)) * focal_px};
    if (SensorGuess(*view_, t, b.x, b.y)) boards.push_back(b);
  }
  GatherStations();
  std::vector<std::wstring> stations;
  for (const CXYZ& st : stations_) stations.push_back(st.Name.c_str());
  Measured m = MeasureBoards(boards, {light.data(), width, height}, stations, view_->m_Camera);
  if (m.image.GetSize() == 0) return {false, FormatA("no board measured (%d in view)", m.in_view)};

  CString jpeg = kGrabFile;
  if (!picture.WriteJPEG(jpeg)) return {false, "cannot write the picture " + Utf8(jpeg)};
  CSize size(width, height);
  CString photo;
  const int added = photogrammetry::AddMeasuredPhoto(*project_, jpeg, size, m.image, photo);
  DeleteFileW(jpeg);
  if (!added) return {false, "cannot add the photograph to the project"};
  return {true,
          FormatA("photo %s: %d of %d boards in view measured (others crowded or at the edge), "
                  "corrected for lens distortion",
                  Utf8(photo).c_str(),
                  m.image.GetSize(),
                  m.in_view)};
}

// Solves every photograph's DLT, intersects the other points and compares
// the check targets (code TGT) with their known coordinates.
StepResult Session::ProjectSolve(const Step& step) {
  if (!project_) return {false, "no project: run project-new first"};
  const int min_controls =
      step.args.empty() ? kDefaultMinControls : std::atoi(step.args[0].c_str());
  PointArray check = PointsCoded(L"TGT");
  photogrammetry::JobReport report;
  if (!photogrammetry::SolvePhotogrammetryJob(*project_, &check, report, min_controls)) {
    return {false, "the project could not be solved"};
  }
  for (const std::string& line : report.Lines()) std::printf("    %s\n", line.c_str());
  std::string faults;  // check targets missing or off by more than the tolerance
  for (const CXYZ& truth : check) {
    auto it = std::find_if(
        report.points.begin(), report.points.end(), [&](const photogrammetry::JobPoint& r) {
          return r.point.Name == truth.Name;
        });
    const std::string name = Utf8(truth.Name.c_str());
    if (it == report.points.end()) {
      faults += (faults.empty() ? "" : ", ") + name + " not intersected";
    } else if (!(it->Error() <= kCheckTolerance)) {
      faults += (faults.empty() ? "" : ", ") +
                FormatA("%s off by %.1f mm", name.c_str(), it->Error() * 1000.0);
    }
  }
  std::string summary = FormatA("%d of %d photos solved, %d points intersected",
                                report.SolvedPhotos(),
                                int(report.photos.size()),
                                int(report.points.size()));
  if (check.GetSize() > 0 && report.WorstError() >= 0.0) {
    summary +=
        FormatA(", %d check targets, worst %.1f mm", check.GetSize(), report.WorstError() * 1000.0);
  }
  if (!faults.empty()) summary += FormatA("; beyond %.0f mm: ", kCheckTolerance * 1000.0) + faults;
  return {faults.empty() && report.SolvedPhotos() > 0, summary};
}

}  // namespace host
