// Projects: folders created, listed, renamed and deleted; the index and its
// backup (a damaged or missing index restored, a torn write leaving the old
// index); photographs copied in; the DLT solved from synthetic photographs of
// a known pinhole camera (rotation, focal length, principal point) with and
// without measuring noise; ".DLT" files read back exactly and malformed ones
// refused; space intersection from two and three photographs.
#include "storage/project.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <string>

#include "photogrammetry/dlt.h"
#include "photogrammetry/space_intersection.h"
#include "platform/faults.h"
#include "platform/safe_file.h"
#include "tests/support/test_support.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

// An ideal camera built independently of the DLT: centre, a look-at rotation
// with a little roll, focal length and principal point in pixels; x right,
// y down.
struct Pinhole {
  double centre[3];
  double rows[3][3];  // right, down, forward
  double f;
  double cx, cy;

  Pinhole(double X,
          double Y,
          double Z,
          double tx,
          double ty,
          double tz,
          double focal,
          double px,
          double py)
      : centre{X, Y, Z}, f(focal), cx(px), cy(py) {
    double fw[3] = {tx - X, ty - Y, tz - Z};
    Normalise(fw);
    const double up[3] = {0.04, -0.03, 1.0};  // not vertical: the picture is rolled
    double right[3] = {fw[1] * up[2] - fw[2] * up[1],
                       fw[2] * up[0] - fw[0] * up[2],
                       fw[0] * up[1] - fw[1] * up[0]};
    Normalise(right);
    double down[3] = {fw[1] * right[2] - fw[2] * right[1],
                      fw[2] * right[0] - fw[0] * right[2],
                      fw[0] * right[1] - fw[1] * right[0]};
    for (int i = 0; i < 3; ++i) {
      rows[0][i] = right[i];
      rows[1][i] = down[i];
      rows[2][i] = fw[i];
    }
  }
  static void Normalise(double* v) {
    double n = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    for (int i = 0; i < 3; ++i) v[i] /= n;
  }
  CXYZ Image(const CXYZ& p) const {
    double d[3] = {p.X - centre[0], p.Y - centre[1], p.Z - centre[2]}, u[3];
    for (int r = 0; r < 3; ++r) u[r] = rows[r][0] * d[0] + rows[r][1] * d[1] + rows[r][2] * d[2];
    return CXYZ(p.Name, cx + f * u[0] / u[2], cy + f * u[1] / u[2], 0.0);
  }
};

// Wide camera of the instrument: 8 mm over 5.6 um pixels.
constexpr double kFocalPx = 8.0 / 0.0056;

// Points spread through a 24 x 24 x 10 m block around a site far from the
// origin, as survey coordinates are.
PointArray SitePoints(int count, const wchar_t* prefix, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> dx(-12.0, 12.0), dz(-5.0, 5.0);
  PointArray points;
  for (int i = 0; i < count; ++i) {
    std::wstring name = prefix + std::to_wstring(i + 1);
    double x = 1040.0 + dx(rng), y = 2030.0 + dx(rng), z = 52.0 + dz(rng);
    CXYZ point(name.c_str(), x, y, z);
    points.Add(point);
  }
  return points;
}

PointArray Photograph(const Pinhole& camera,
                      const PointArray& ground,
                      double noise_px,
                      unsigned seed) {
  std::mt19937 rng(seed);
  std::normal_distribution<double> noise(0.0, noise_px);
  PointArray image;
  for (const CXYZ& g : ground) {
    CXYZ p = camera.Image(g);
    p.X += noise_px > 0 ? noise(rng) : 0.0;
    p.Y += noise_px > 0 ? noise(rng) : 0.0;
    image.Add(p);
  }
  return image;
}

const Pinhole kWest(1000.0, 2000.0, 51.5, 1040.0, 2030.0, 52.0, kFocalPx, 320.37, 239.61);
const Pinhole kSouth(1075.0, 1991.0, 51.4, 1040.0, 2030.0, 52.5, kFocalPx * 1.01, 318.9, 241.2);
const Pinhole kNorth(1050.0, 2080.0, 56.0, 1040.0, 2030.0, 51.0, kFocalPx * 0.99, 321.5, 238.4);

double WorstReprojection(const CDLT& dlt, const Pinhole& camera, const PointArray& points) {
  double worst = 0.0;
  for (const CXYZ& p : points) {
    double x = 0, y = 0;
    EXPECT_EQ(dlt.Project(p, x, y), 1);
    CXYZ truth = camera.Image(p);
    worst = std::max(worst, std::hypot(x - truth.X, y - truth.Y));
  }
  return worst;
}

TEST(DLT, ExactPhotographsGiveTheCameraBack) {
  PointArray control = SitePoints(8, L"C", 1), check = SitePoints(30, L"K", 2);
  PointArray image = Photograph(kWest, control, 0.0, 0);
  CDLT dlt;
  ASSERT_EQ(dlt.Solve(control, image), 1);
  // Every other point lands where the camera puts it: the eleven parameters
  // carry the whole projective camera.
  EXPECT_LT(WorstReprojection(dlt, kWest, check), 1e-6);
  EXPECT_LT(dlt.m_dSigma, 1e-6);
  ASSERT_EQ(dlt.GetControlCount(), 8);
  EXPECT_EQ(dlt.m_Residuals[0].Name, CString(L"C1"));
}

TEST(DLT, NoisyMeasurementsGiveResidualsOfTheNoise) {
  PointArray control = SitePoints(20, L"C", 3), check = SitePoints(30, L"K", 4);
  const double noise = 0.2;  // px
  CDLT dlt;
  PointArray image = Photograph(kSouth, control, noise, 5);
  ASSERT_EQ(dlt.Solve(control, image), 1);
  // RMS length of the 20 residual vectors after fitting 11 parameters to 40
  // observations: about noise * sqrt(2) * sqrt((40 - 11) / 40) = 0.24 px.
  EXPECT_GT(dlt.m_dSigma, 0.15);
  EXPECT_LT(dlt.m_dSigma, 0.35);
  // Inside the control block the fitted camera stays within a few noise widths.
  EXPECT_LT(WorstReprojection(dlt, kSouth, check), 4 * noise);
  double sum2 = 0.0;
  for (const CXYZ& v : dlt.m_Residuals) sum2 += v.X * v.X + v.Y * v.Y;
  EXPECT_NEAR(std::sqrt(sum2 / 20), dlt.m_dSigma, 1e-12);
}

TEST(DLT, TooFewPlanarOrUnmatchedControlsAreRefused) {
  PointArray control = SitePoints(5, L"C", 6);
  PointArray image = Photograph(kWest, control, 0.0, 0);
  CDLT dlt;
  dlt.m_dL[0] = 42.0;
  EXPECT_EQ(dlt.Solve(control, image), 0);
  EXPECT_EQ(dlt.m_dL[0], 42.0);  // unchanged

  // Eight control points on one sloping plane leave the DLT undetermined.
  PointArray plane = SitePoints(8, L"C", 7);
  for (CXYZ& p : plane) p.Z = 50.0 + 0.1 * (p.X - 1040.0) - 0.05 * (p.Y - 2030.0);
  PointArray plane_image = Photograph(kWest, plane, 0.0, 0);
  EXPECT_EQ(dlt.Solve(plane, plane_image), 0);
  EXPECT_EQ(dlt.m_dL[0], 42.0);

  // Names pair the points: six image points of other names do not count.
  PointArray six = SitePoints(6, L"C", 8), others = SitePoints(6, L"X", 8);
  PointArray other_image = Photograph(kWest, others, 0.0, 0);
  EXPECT_EQ(dlt.Solve(six, other_image), 0);
  // Shuffled order and extra unmatched points are fine.
  PointArray seven = SitePoints(7, L"C", 9);
  PointArray seven_image = Photograph(kWest, seven, 0.0, 0);
  PointArray shuffled;
  for (int i = seven_image.GetSize() - 1; i >= 0; --i) shuffled.Add(seven_image[i]);
  shuffled.Add(other_image[0]);
  EXPECT_EQ(dlt.Solve(seven, shuffled), 1);
  EXPECT_LT(WorstReprojection(dlt, kWest, SitePoints(10, L"K", 10)), 1e-6);
}

class DLTFile : public testing_support::DeviceTest {};

TEST_F(DLTFile, WrittenParametersReadBackExactly) {
  PointArray control = SitePoints(9, L"C", 11);
  CDLT dlt;
  PointArray dlt_image = Photograph(kNorth, control, 0.3, 12);
  ASSERT_EQ(dlt.Solve(control, dlt_image), 1);
  dlt.Name = L"P001";
  ASSERT_EQ(dlt.Write(L"\\P001.DLT"), 1);
  CDLT back;
  ASSERT_EQ(back.Read(L"\\P001.DLT"), 1);
  EXPECT_EQ(back.Name, CString(L"P001"));
  for (int i = 0; i < 11; ++i) EXPECT_EQ(back.m_dL[i], dlt.m_dL[i]) << "L" << i + 1;
  EXPECT_EQ(back.m_dSigma, dlt.m_dSigma);
  ASSERT_EQ(back.GetControlCount(), 9);
  EXPECT_EQ(back.m_Residuals[8].Name, CString(L"C9"));
  EXPECT_EQ(back.m_Residuals[8].Y, dlt.m_Residuals[8].Y);
  std::string text = ReadHostFile(Host(L"\\P001.DLT"));
  EXPECT_EQ(text.rfind("DLT\t1\nphoto\tP001\nL1\t", 0), 0u);
  EXPECT_NE(text.find("\ncontrols\t9\nC1\t"), std::string::npos);
}

TEST_F(DLTFile, MalformedFilesAreRefusedAndChangeNothing) {
  std::string good = "DLT\t1\nphoto\tP\n";
  for (int i = 1; i <= 11; ++i) good += "L" + std::to_string(i) + "\t" + std::to_string(i) + ".5\n";
  good += "sigma\t0.25\ncontrols\t1\nC1\t0.1\t-0.2\nend\n";
  CDLT dlt;
  ASSERT_EQ(dlt.Parse(good.data(), int(good.size())), 1);
  EXPECT_EQ(dlt.m_dL[10], 11.5);
  EXPECT_EQ(dlt.m_Residuals[0].Y, -0.2);

  auto replaced = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  const std::string bad[] = {
      good.substr(0, good.size() - 4),         // no end line
      replaced("controls\t1", "controls\t2"),  // count larger than the lines
      replaced("L7\t7.5", "L7\t7,5"),          // decimal comma
      replaced("L7\t7.5", "L7\tnan"),
      replaced("L3\t", "L4\t"),              // wrong order
      replaced("DLT\t1", "DLT\t2"),          // unknown version
      replaced("C1\t0.1\t-0.2", "C1\t0.1"),  // missing field
      replaced("controls\t1", "controls\t-1"),
      "",
  };
  for (const std::string& text : bad) {
    CDLT probe = dlt;
    probe.m_dL[0] = -7.0;
    EXPECT_EQ(probe.Parse(text.data(), int(text.size())), 0) << text;
    EXPECT_EQ(probe.m_dL[0], -7.0);
    EXPECT_EQ(probe.GetControlCount(), 1);
  }
  EXPECT_EQ(dlt.Read(L"\\missing.DLT"), 0);
}

TEST(SpaceIntersection, TwoOrThreePhotographsFixThePoints) {
  PointArray control = SitePoints(12, L"C", 13), targets = SitePoints(15, L"T", 14);
  const Pinhole* cameras[] = {&kWest, &kSouth, &kNorth};
  CDLT dlts[3];
  for (int c = 0; c < 3; ++c) {
    PointArray image = Photograph(*cameras[c], control, 0.0, 0);
    ASSERT_EQ(dlts[c].Solve(control, image), 1);
  }
  for (const CXYZ& t : targets) {
    for (int used : {2, 3}) {
      CSpaceIntersection rays;
      for (int c = 0; c < used; ++c) {
        CXYZ xy = cameras[c]->Image(t);
        rays.Add(dlts[c], xy.X, xy.Y);
      }
      CXYZ p(t.Name, 0, 0, 0);
      ASSERT_EQ(rays.Solve(p), 1);
      EXPECT_LT(p.Len(t), 1e-6) << "photographs " << used;
      EXPECT_EQ(p.Name, t.Name);
      EXPECT_LT(rays.m_dSigma, 1e-6);
    }
  }
}

TEST(SpaceIntersection, NoisyRaysGiveTheirResiduals) {
  PointArray control = SitePoints(12, L"C", 15);
  CDLT west, south;
  PointArray west_image = Photograph(kWest, control, 0.0, 0);
  ASSERT_EQ(west.Solve(control, west_image), 1);
  PointArray south_image = Photograph(kSouth, control, 0.0, 0);
  ASSERT_EQ(south.Solve(control, south_image), 1);
  CXYZ truth(L"T", 1043.2, 2027.9, 53.1);
  CXYZ a = kWest.Image(truth), b = kSouth.Image(truth);
  CSpaceIntersection rays;
  rays.Add(west, a.X + 0.5, a.Y - 0.3);
  rays.Add(south, b.X - 0.2, b.Y + 0.4);
  CXYZ p;
  ASSERT_EQ(rays.Solve(p), 1);
  // Half a pixel at ~50 m with 5.6 um / 8 mm pixels is about 17 mm; with
  // near-perpendicular rays the point moves by about that much.
  EXPECT_LT(p.Len(truth), 0.05);
  EXPECT_GT(p.Len(truth), 0.002);
  // Four observations, three unknowns: one degree of freedom of residual.
  double sum2 = 0.0;
  for (int i = 0; i < 2; ++i)
    sum2 += std::pow(rays.GetResidualX(i), 2) + std::pow(rays.GetResidualY(i), 2);
  EXPECT_NEAR(std::sqrt(sum2 / 2), rays.m_dSigma, 1e-12);
  EXPECT_GT(rays.m_dSigma, 0.01);
}

TEST(SpaceIntersection, OneRayOrParallelRaysDoNotFixAPoint) {
  PointArray control = SitePoints(12, L"C", 16);
  CDLT west;
  PointArray west_image = Photograph(kWest, control, 0.0, 0);
  ASSERT_EQ(west.Solve(control, west_image), 1);
  CXYZ xy = kWest.Image(CXYZ(1040.0, 2030.0, 52.0));
  CSpaceIntersection rays;
  rays.Add(west, xy.X, xy.Y);
  CXYZ p(L"T", 1.0, 2.0, 3.0);
  EXPECT_EQ(rays.Solve(p), 0);
  rays.Add(west, xy.X, xy.Y);  // the same photograph again: one ray twice
  EXPECT_EQ(rays.Solve(p), 0);
  EXPECT_EQ(p.X, 1.0);
}

class ProjectTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    WriteHostFile(Host(L"\\JPEG\\20240503\\140709W100.jpg"), "\xFF\xD8 first picture \xFF\xD9");
    WriteHostFile(Host(L"\\JPEG\\20240503\\140805W100.jpg"), "\xFF\xD8 second picture \xFF\xD9");
  }
  std::string Index(const wchar_t* name) {
    return ReadHostFile(
        Host((L"\\IMG_MAIN\\project\\" + std::wstring(name) + L"\\project.hdr").c_str()));
  }
  std::string Backup(const wchar_t* name) {
    return ReadHostFile(
        Host((L"\\IMG_MAIN\\project\\" + std::wstring(name) + L"\\project.bkh").c_str()));
  }
  CProject project_;
};

TEST_F(ProjectTest, CreateListRenameDelete) {
  CStringArray names;
  ASSERT_EQ(project_.List(names), 1);  // no root yet
  EXPECT_EQ(names.GetSize(), 0);
  ASSERT_EQ(project_.Create(L"Bridge"), 1);
  ASSERT_EQ(project_.Create(L"Abbey"), 1);
  EXPECT_EQ(project_.GetName(), CString(L"Abbey"));
  EXPECT_EQ(project_.GetFolder(), CString(L"\\IMG_MAIN\\project\\Abbey"));
  std::filesystem::create_directories(Host(L"\\IMG_MAIN\\project\\not a project"));
  ASSERT_EQ(project_.List(names), 1);
  ASSERT_EQ(names.GetSize(), 2);
  EXPECT_EQ(names[0], CString(L"Abbey"));
  EXPECT_EQ(names[1], CString(L"Bridge"));
  EXPECT_EQ(Index(L"Abbey"), Backup(L"Abbey"));
  EXPECT_EQ(Index(L"Abbey").rfind("IMGPRJ\t1\nname\tAbbey\n", 0), 0u);

  ASSERT_EQ(project_.Rename(L"Abbey", L"Abbey 2024"), 1);
  EXPECT_EQ(project_.GetName(), CString(L"Abbey 2024"));  // the open project follows
  EXPECT_NE(Index(L"Abbey 2024").find("name\tAbbey 2024\n"), std::string::npos);
  ASSERT_EQ(project_.Delete(L"Bridge"), 1);
  ASSERT_EQ(project_.List(names), 1);
  ASSERT_EQ(names.GetSize(), 1);
  EXPECT_EQ(names[0], CString(L"Abbey 2024"));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(ProjectTest, BadNamesAndExistingProjectsAreRefused) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  EXPECT_EQ(project_.Create(L"Site"), 0);
  EXPECT_EQ(boxes_.LastText(), L"Folder maked error. E-521");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  for (const wchar_t* bad : {L"", L"..", L"a\\b", L"a/b", L"a*", L"tab\there"}) {
    EXPECT_EQ(project_.Create(bad), 0) << "[" << platform::WideToUtf8(bad) << "]";
  }
  boxes_.clear();
  EXPECT_EQ(project_.Open(L"Nowhere"), 0);
  EXPECT_EQ(boxes_.LastText(), L"File Open Error. E-507");
  ASSERT_EQ(project_.Create(L"Other"), 1);
  project_.m_bShowMessage = 0;
  EXPECT_EQ(project_.Rename(L"Site", L"Other"), 0);  // taken
  EXPECT_EQ(project_.Rename(L"Site", L"..\\up"), 0);
}

TEST_F(ProjectTest, PhotographsAreCopiedInAndListedInTheIndex) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  CString first, second = L"east";
  ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140709W100.jpg", first), 1);
  ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140805W100.jpg", second), 1);
  EXPECT_EQ(first, CString(L"P001"));
  EXPECT_EQ(second, CString(L"east"));
  EXPECT_EQ(ReadHostFile(Host(L"\\IMG_MAIN\\project\\Site\\P001.jpg")),
            "\xFF\xD8 first picture \xFF\xD9");
  EXPECT_NE(Index(L"Site").find("photo\teast\teast.jpg\teast.imc\teast.DLT\n"), std::string::npos);
  CString again = L"east";
  project_.m_bShowMessage = 0;
  EXPECT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140805W100.jpg", again), 0);  // name taken
  EXPECT_EQ(project_.AddPhoto(L"\\JPEG\\none.jpg", again), 0);

  CProject reopened;
  ASSERT_EQ(reopened.Open(L"Site"), 1);
  ASSERT_EQ(reopened.GetPhotoCount(), 2);
  EXPECT_EQ(reopened.GetPhoto(1).Jpeg, CString(L"east.jpg"));
  ASSERT_EQ(reopened.RemovePhoto(L"P001"), 1);
  EXPECT_FALSE(std::filesystem::exists(Host(L"\\IMG_MAIN\\project\\Site\\P001.jpg")));
  EXPECT_EQ(reopened.FindPhoto(L"east"), 0);

  CCamera camera;
  camera.FocalLength = 8.0;
  camera.Resolution = CXYZ(0.0056, 0.0056, 0);
  ASSERT_EQ(reopened.SetCamera(camera), 1);
  CProject third;
  ASSERT_EQ(third.Open(L"Site"), 1);
  CCamera back;
  ASSERT_EQ(third.GetCamera(back), 1);
  EXPECT_EQ(back.FocalLength, 8.0);
}

TEST_F(ProjectTest, DamagedOrMissingIndexIsRestoredFromTheBackup) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  CString name;
  ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140709W100.jpg", name), 1);
  name.Empty();  // the next free name
  ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140805W100.jpg", name), 1);
  EXPECT_EQ(name, CString(L"P002"));
  const std::string good = Index(L"Site");
  const std::string hdr = Host(L"\\IMG_MAIN\\project\\Site\\project.hdr");

  // One changed byte (a photo name), a torn end, an empty file, no file.
  std::string flipped = good;
  flipped[flipped.find("P002")] = 'Q';
  const std::string damaged[] = {flipped, good.substr(0, good.size() / 2), ""};
  for (const std::string& bytes : damaged) {
    WriteHostFile(hdr, bytes);
    CProject opened;
    ASSERT_EQ(opened.Open(L"Site"), 1);
    EXPECT_EQ(opened.GetPhotoCount(), 2);
    EXPECT_EQ(ReadHostFile(hdr), good);
  }
  std::filesystem::remove(hdr);
  CProject opened;
  ASSERT_EQ(opened.Open(L"Site"), 1);
  EXPECT_EQ(ReadHostFile(hdr), good);

  // RestoreIndex on an open project rewrites it, too.
  WriteHostFile(hdr, flipped);
  ASSERT_EQ(opened.RestoreIndex(), 1);
  EXPECT_EQ(ReadHostFile(hdr), good);

  // Both damaged: nothing to open.
  WriteHostFile(hdr, flipped);
  WriteHostFile(Host(L"\\IMG_MAIN\\project\\Site\\project.bkh"), good.substr(0, 20));
  CProject broken;
  EXPECT_EQ(broken.Open(L"Site"), 0);
  EXPECT_EQ(broken.IsOpen(), 0);
  EXPECT_EQ(boxes_.LastText(), L"Invalid File. E-508");
}

TEST_F(ProjectTest, IndexWriteTornPartWayKeepsTheOldIndex) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  CString name;
  ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140709W100.jpg", name), 1);
  const std::string before = Index(L"Site");
  platform::fault::Arm("file.write", 0, 1, 0, "project.hdr");
  name.Empty();
  EXPECT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140805W100.jpg", name), 0);
  EXPECT_EQ(boxes_.LastText(), L"File Write Error. E-512");
  EXPECT_EQ(Index(L"Site"), before);
  EXPECT_EQ(project_.GetPhotoCount(), 1);
  EXPECT_FALSE(std::filesystem::exists(Host(L"\\IMG_MAIN\\project\\Site\\P002.jpg")));
  const std::wstring temp = platform::SafeFile::TempPath(L"\\IMG_MAIN\\project\\Site\\project.hdr");
  EXPECT_FALSE(std::filesystem::exists(Host(temp.c_str())));
}

TEST_F(ProjectTest, SolvesAndIntersectsThroughItsFiles) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  PointArray control = SitePoints(10, L"C", 20), targets = SitePoints(6, L"T", 21);
  ASSERT_EQ(project_.SetControlPoints(control), 1);
  const Pinhole* cameras[] = {&kWest, &kSouth, &kNorth};
  for (int c = 0; c < 3; ++c) {
    CString photo;
    ASSERT_EQ(project_.AddPhoto(L"\\JPEG\\20240503\\140709W100.jpg", photo), 1);
    PointArray image = Photograph(*cameras[c], control, 0.05, 30 + c);
    PointArray measured = Photograph(*cameras[c], targets, 0.05, 40 + c);
    for (CXYZ& p : measured) image.Add(p);
    CSize size(640, 480);
    ASSERT_EQ(project_.SetImagePoints(photo, size, image), 1);
    CDLT dlt;
    ASSERT_EQ(project_.SolveDLT(photo, dlt), 1);
    EXPECT_EQ(dlt.GetControlCount(), 10);  // targets are not control points
    CDLT stored;
    ASSERT_EQ(project_.GetDLT(photo, stored), 1);
    EXPECT_EQ(stored.m_dL[8], dlt.m_dL[8]);
  }
  PointArray results;
  ASSERT_EQ(project_.IntersectAll(results), 1);
  ASSERT_EQ(results.GetSize(), 6);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(results[i].Name, targets[i].Name);
    EXPECT_EQ(results[i].Num, 3);
    // 0.05 px of noise is under 2 mm at these distances.
    EXPECT_LT(results[i].Len(targets[i]), 0.01);
  }
  PointArray stored;
  ASSERT_EQ(project_.GetResultPoints(stored), 1);
  ASSERT_EQ(stored.GetSize(), 6);
  EXPECT_NEAR(stored[5].X, results[5].X, 1e-6);  // "%.6lf" in the point file
}

}  // namespace
