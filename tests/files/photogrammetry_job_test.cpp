// A photogrammetric job on the simulated instrument, end to end: the site's
// targets (examples/site.csv) plus extra control targets are photographed
// with the wide camera from two stations, several pictures a station; each
// picture is saved as a JPEG and copied into a project; the targets' image
// coordinates are measured from the pixels; each photograph's DLT is solved
// from the control targets it shows; the untouched site targets are
// intersected and compared with their true coordinates.
//
// Not finished, so disabled: with boards of 10 to 20 pixels the centres found
// from the pixels scatter by about 0.2 px (up to 0.8 px), and after leaving
// out boards that overlap another in the picture most pictures keep only six
// or seven control targets, too few for a DLT that holds away from them.
// Run with --gtest_also_run_disabled_tests to see the figures per picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include "devices/jpeg_module.h"
#include "files/point_files.h"
#include "files/project.h"
#include "image/dib_ex.h"
#include "sim/instrument.h"
#include "tests/sim/library_projection.h"
#include "tests/sim/picture.h"
#include "tests/support/test_support.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;
using sim_test::Frame;

constexpr double kPi = 3.141592653589793;
constexpr double kBoardHalf = 0.6;  // m: about 17 px half size at 50 m

struct Station {
  double x, y, z;
};

Frame Render(sim::Instrument& instrument) {
  Frame frame = sim_test::NewFrame();
  devices::FrameRequest request;
  request.camera = 1;
  instrument.Render(request, frame.data());
  return frame;
}

// Saves a sensor frame as the JPEG a snapshot would be (24-bit, top row first
// on screen).
bool SaveJpeg(const Frame& frame, const wchar_t* path) {
  CDibEx dib;
  if (!dib.Create(CSize(devices::kFrameWidth, devices::kFrameHeight), 24, 0, 0, 0)) return false;
  for (int y = 0; y < devices::kFrameHeight; ++y) {
    for (int x = 0; x < devices::kFrameWidth; ++x) {
      uint32_t rgb = devices::Unpack565(frame[size_t(y) * devices::kFrameWidth + size_t(x)]);
      BYTE bgr[3] = {BYTE(rgb), BYTE(rgb >> 8), BYTE(rgb >> 16)};
      dib.SetPixel(bgr, CPoint(x, y), 4);
    }
  }
  CString file = path;
  return dib.WriteJPEG(file) != 0;
}

// Horizontal angle (degrees from survey X towards Y) and zenith angle from
// the telescope's axis point to a point.
void Direction(const sim::StationState& s, const CXYZ& p, double& v_deg, double& h_deg) {
  double dx = p.X - s.x, dy = p.Y - s.y, dz = p.Z - (s.z + s.instrument_height);
  h_deg = std::atan2(dy, dx) * 180.0 / kPi;
  v_deg = 90.0 - std::atan2(dz, std::hypot(dx, dy)) * 180.0 / kPi;
}

// Extra control targets through the site's block, away from each other and
// from the site's own targets so that no two boards overlap in a picture.
void AddControlTargets(PointArray& all, int count) {
  std::mt19937 rng(20240503);
  std::uniform_real_distribution<double> x(1012.0, 1068.0), y(2000.0, 2066.0), z(47.5, 58.5);
  for (int made = 0, tries = 0; made < count && tries < 10000; ++tries) {
    CXYZ p(L"", x(rng), y(rng), z(rng));
    bool clear = std::all_of(all.begin(), all.end(), [&](const CXYZ& q) { return p.Len(q) > 4.0; });
    if (!clear) continue;
    p.Name.Format(L"C%02d", ++made);
    p.Code = L"CTRL";
    all.Add(p);
  }
}

struct Measured {
  CString name;
  double x = 0, y = 0;
};

// Finds every target's centre in one picture. The expected positions (the
// library's projection of the true coordinates) only say where to look and
// which board is which, as an operator tapping near a target would; the
// centre itself comes from the pixels. Boards near the edge or near another
// board are left out.
std::vector<Measured> MeasurePicture(sim::Instrument& instrument, const PointArray& targets, const sim::Scene& scene,
                                     const Frame& with) {
  sim::StationState s = instrument.station().State();
  std::vector<sim_test::SensorPoint> guesses;
  for (const CXYZ& t : targets) {
    auto p = sim_test::LibraryProject(instrument.calibration(), s, t.Y, t.X, t.Z);  // pipeline axes
    guesses.push_back(p && p->visible ? *p : sim_test::SensorPoint{-1000, -1000, 0});
  }
  // Half size of each board in pixels (boards face the instrument).
  std::vector<double> half;
  for (const CXYZ& t : targets)
    half.push_back(kBoardHalf / t.Len(CXYZ(s.x, s.y, s.z + s.instrument_height)) * 8.0 / 0.0056);
  std::vector<Measured> found;
  for (int i = 0; i < targets.GetSize(); ++i) {
    const sim_test::SensorPoint& g = guesses[size_t(i)];
    // The window holds the whole board (its diagonal) and nothing of another.
    int radius = int(half[size_t(i)] * 1.45) + 3;
    if (!g.visible || g.px < radius + 2 || g.py < radius + 2 || g.px > 638 - radius || g.py > 478 - radius) continue;
    // A board that overlaps another in the picture (partly hidden or hiding)
    // cannot be measured.
    bool crowded = false;
    for (size_t j = 0; j < guesses.size(); ++j) {
      double gap = std::max(std::fabs(guesses[j].px - g.px), std::fabs(guesses[j].py - g.py));
      if (int(j) != i && guesses[j].visible && gap < (half[size_t(i)] + half[j]) * 1.45 + 2) crowded = true;
    }
    if (crowded) continue;
    // The same view without this one board tells its pixels from the rest.
    sim::Scene others;
    others.set_ground_z(scene.ground_z());
    for (const sim::Target& t : scene.targets())
      if (t.name != targets[i].Name.str()) others.AddTarget(t);
    instrument.SetScene(others);
    Frame without = Render(instrument);
    instrument.SetScene(scene);
    auto centre = sim_test::BoardCentre(with, without, g.px, g.py, radius);
    if (centre) found.push_back({targets[i].Name, centre->x, centre->y});
  }
  return found;
}

class PhotogrammetryJob : public testing_support::DeviceTest {};

TEST_F(PhotogrammetryJob, DISABLED_TwoStationsRecoverTheSiteTargets) {
  devices::RegisterJpegModule();
  PointArray site;
  ASSERT_EQ(ReadCSVFile(CString(testing_support::SourcePath("examples/site.csv").c_str()), site, 1), 1);
  PointArray targets;  // everything that stands on the site, with true coordinates
  PointArray check;    // the untouched targets: only their pictures are used
  for (CXYZ& p : site) {
    if (p.Code == L"STN") continue;
    targets.Add(p);
    if (p.Code == L"TGT") check.Add(p);
  }
  ASSERT_EQ(check.GetSize(), 6);
  AddControlTargets(targets, 34);
  PointArray control;
  for (CXYZ& p : targets)
    if (p.Code == L"CTRL") control.Add(p);

  sim::Instrument instrument;
  instrument.SetSampleEveryPixel(true);
  sim::Scene empty;
  empty.set_ground_z(40.0);  // the site stands on a terrace below both stations
  sim::Scene scene = empty;
  for (const CXYZ& t : targets) scene.AddTarget({t.Name.c_str(), t.X, t.Y, t.Z, kBoardHalf});

  CProject project;
  ASSERT_EQ(project.Create(L"Site"), 1);
  ASSERT_EQ(project.SetControlPoints(control), 1);
  CCamera camera;
  camera.FocalLength = 8.0;
  camera.PrincipalPoint = CXYZ(1.792, 1.344, 0.0);
  camera.Resolution = CXYZ(0.0056, 0.0056, 0.0);
  ASSERT_EQ(project.SetCamera(camera), 1);

  // The site's station and a second one about 90 degrees round the site.
  const Station stations[] = {{1008.0, 2004.0, 50.0}, {1074.0, 1998.0, 50.0}};
  int photos = 0;
  for (const Station& st : stations) {
    instrument.station().SetPosition(st.x, st.y, st.z);
    instrument.station().SetInstrumentHeight(1.5);
    sim::StationState s = instrument.station().State();
    double h_min = 1e9, h_max = -1e9, v_sum = 0.0;
    for (const CXYZ& t : targets) {
      double v = 0, h = 0;
      Direction(s, t, v, h);
      h_min = std::min(h_min, h);
      h_max = std::max(h_max, h);
      v_sum += v;
    }
    // Pictures 9 degrees apart: the wide camera sees 25.6 x 19.4 degrees, so
    // each target is on two or three pictures of the station.
    for (double h = h_min + 6.0; h < h_max + 3.0; h += 7.0) {
      instrument.station().SetAngles(v_sum / targets.GetSize(), h);
      instrument.SetScene(scene);
      Frame with = Render(instrument);
      CString jpeg;
      jpeg.Format(L"\\JPEG\\photo%02d.jpg", photos + 1);
      std::filesystem::create_directories(Host(L"\\JPEG"));
      ASSERT_TRUE(SaveJpeg(with, jpeg));
      CString photo;
      ASSERT_EQ(project.AddPhoto(jpeg, photo), 1);
      PointArray image;
      for (const Measured& m : MeasurePicture(instrument, targets, scene, with)) {
        CXYZ p(m.name, m.x, m.y, 0.0);
        image.Add(p);
      }
      CSize size(devices::kFrameWidth, devices::kFrameHeight);
      ASSERT_EQ(project.SetImagePoints(photo, size, image), 1);
      CDLT dlt;
      int solved = project.SolveDLT(photo, dlt);
      std::printf("photo %ls: station %d, H %.1f deg, %d targets measured, DLT %s from %d controls, sigma %.3f px\n",
                  photo.c_str(), int(&st - stations) + 1, h, image.GetSize(), solved ? "solved" : "not solved",
                  dlt.GetControlCount(), dlt.m_dSigma);
      if (solved) {
        EXPECT_LT(dlt.m_dSigma, 0.3);
      }
      ++photos;
    }
  }

  PointArray results;
  ASSERT_EQ(project.IntersectAll(results), 1);
  double worst = 0.0;
  for (const CXYZ& truth : check) {
    auto it = std::find_if(results.begin(), results.end(), [&](const CXYZ& r) { return r.Name == truth.Name; });
    EXPECT_NE(it, results.end()) << platform::WideToUtf8(truth.Name.c_str()) << " not intersected";
    if (it == results.end()) continue;
    double error = it->Len(truth);
    double range = truth.Len(CXYZ(stations[0].x, stations[0].y, stations[0].z));
    std::printf("%ls: %d photos, image sigma %.3f px, error %.1f mm (dx %.1f dy %.1f dz %.1f) at %.0f m\n",
                truth.Name.c_str(), it->Num, it->Aux1, error * 1000, (it->X - truth.X) * 1000,
                (it->Y - truth.Y) * 1000, (it->Z - truth.Z) * 1000, range);
    worst = std::max(worst, error);
    EXPECT_GE(it->Num, 2);
  }
  std::printf("worst error of the %d untouched targets: %.1f mm\n", check.GetSize(), worst * 1000);
  EXPECT_LT(worst, 0.005);
}

}  // namespace
