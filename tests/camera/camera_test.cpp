// CCamera and the camera file: write/read round trips, the exact bytes of
// the format, and hand-written odd files.
#include "camera/camera.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/file.h"
#include "tests/support/matchers.h"
#include "tests/support/test_support.h"

namespace {

using testing_support::IsNearXYZ;

class CameraFile : public testing_support::DeviceTest {
 protected:
  static CCamera Wide() {
    CCamera c;
    c.FocalLength = 8.0123;
    c.PrincipalPoint.SetXYZ(0.0123, -0.0087, 0.0);
    c.Resolution.SetXYZ(0.0056, 0.0056, 0.0);
    c.Dist.SetDistModel(DIST_RADIAL_DECENTER);
    const double p[] = {-2.31457e-3, 4.71234e-5, 1.93456e-4, -2.71234e-4};
    for (int i = 0; i < 4; ++i) c.Dist.AddPara(i, p[i]);
    c.FiducialMarks.SetSize(2);
    c.FiducialMarks[0] = CXYZ(L"F1", 10.5, -5.25, 0.0);
    c.FiducialMarks[1] = CXYZ(L"F2", -10.5, 5.25, 0.0);
    c.Dist.AddDist(0.5, -0.000289);
    c.Dist.AddDist(1.0, -0.002267);
    c.Dist.AddDist(1.5, -0.007572);
    return c;
  }
  void WriteDevice(const wchar_t* path, const std::string& text) {
    WriteHostFile(Host(path), text);
  }
};

TEST_F(CameraFile, WriteThenReadGivesTheSameCamera) {
  CCamera c = Wide();
  ASSERT_EQ(c.Write(L"\\wide.cmr"), 1);
  EXPECT_EQ(c.Name, L"wide");
  CCamera r;
  ASSERT_EQ(r.Read(L"\\wide.cmr"), 1);
  EXPECT_TRUE(r.Name.IsEmpty());  // the name comes from Write, not from the contents
  EXPECT_EQ(r.FocalLength, 8.0123);
  EXPECT_THAT(r.PrincipalPoint, IsNearXYZ(0.0123, -0.0087, 0.0, 0.0));
  EXPECT_THAT(r.Resolution, IsNearXYZ(0.0056, 0.0056, 0.0, 0.0));
  EXPECT_EQ(r.Dist.GetDistModel(), DIST_RADIAL_DECENTER);
  ASSERT_EQ(r.Dist.GetNumPara(), 4);
  for (int i = 0; i < 4; ++i)  // "%le" keeps six decimals of mantissa
    EXPECT_NEAR(r.Dist.GetPara(i), c.Dist.GetPara(i), 5e-7 * std::abs(c.Dist.GetPara(i))) << i;
  ASSERT_EQ(r.FiducialMarks.GetSize(), 2);
  EXPECT_EQ(r.FiducialMarks[1].Name, L"F2");
  EXPECT_THAT(r.FiducialMarks[1], IsNearXYZ(-10.5, 5.25, 0.0, 0.0));
  EXPECT_EQ(r.UseFiducial, 1);
  ASSERT_EQ(r.Dist.GetRadiusList().GetSize(), 3);
  EXPECT_EQ(r.Dist.GetRadiusList()[2], 1.5);
  EXPECT_EQ(r.Dist.GetDistortionList()[2], -0.007572);
}

TEST_F(CameraFile, ExactBytes) {
  CCamera c;
  c.FocalLength = 8.0;
  c.PrincipalPoint.SetXYZ(0.01, -0.02, 0);
  c.Resolution.SetXYZ(0.0056, 0.0057, 0);
  c.Dist.SetDistModel(DIST_RADIAL);
  c.Dist.AddPara(0, -0.0025);
  c.FiducialMarks.SetSize(1);
  c.FiducialMarks[0] = CXYZ(L"F1", 1.0, 2.0, 0.0);
  c.Dist.AddDist(0.5, 0.25);
  c.Dist.GetRadiusList().Add(9.0);  // the longer list is cut to the shorter
  ASSERT_EQ(c.Write(L"\\exact.cmr"), 1);
  const std::string expected =
      "8.000000\t\t\t// focul length [mm]\n"
      "0.010000\t\t\t// x of principal point [m]\n"
      "-0.020000\t\t\t// y of principal point [m]\n"
      "1\t\t\t\t\t// distortion model\n"
      "4\t\t\t\t\t// number of distortion parameters\n"
      "-2.500000e-03\t\t// distortion parameter 1\n"
      "0.000000e+00\t\t// distortion parameter 2\n"
      "0.000000e+00\t\t// distortion parameter 3\n"
      "0.000000e+00\t\t// distortion parameter 4\n"
      "0.005600\t\t\t// x resolution [mm/pixel]\n"
      "0.005700\t\t\t// y resolution [mm/pixel]\n"
      "1\t\t\t\t\t// number of fiducial marks\n"
      "F1\t1.000000\t2.000000\t// coordinates of fiducial mark 1 [mm]\n"
      "1\t\t\t\t\t// number of radial distortion values\n"
      "0.500000\t0.250000\t// radius and  radial distortion value 1 [mm]\n";
  EXPECT_EQ(ReadHostFile(Host(L"\\exact.cmr")), expected);
}

const char kHead[] = "8.5\n0.1\n-0.2\n2\n4\n1e-3\n2e-4\n3e-5\n4e-6\n0.0056\n0.0055\n";

TEST_F(CameraFile, OptionalTablesOfHandWrittenFiles) {
  // No fiducial marks and no radial table: both lists empty, the rest read.
  WriteDevice(L"\\a.cmr", std::string(kHead) + "0\n");
  CCamera c = Wide();
  ASSERT_EQ(c.Read(L"\\a.cmr"), 1);
  EXPECT_EQ(c.Dist.GetRadiusList().GetSize() + c.Dist.GetDistortionList().GetSize(), 0);
  EXPECT_EQ(c.UseFiducial, 0);
  EXPECT_EQ(c.FiducialMarks.GetSize(), 0);
  EXPECT_EQ(c.FocalLength, 8.5);
  EXPECT_EQ(c.Dist.GetPara(3), 4e-6);
  EXPECT_EQ(c.Resolution.Y, 0.0055);
  // A radial table shorter than announced is padded with zeros.
  WriteDevice(L"\\b.cmr", std::string(kHead) + "0\n3\n0.5 0.01\n1.0\t0.02\n");
  ASSERT_EQ(c.Read(L"\\b.cmr"), 1);
  ASSERT_EQ(c.Dist.GetRadiusList().GetSize(), 3);
  EXPECT_EQ(c.Dist.GetRadiusList()[1], 1.0);
  EXPECT_EQ(c.Dist.GetDistortionList()[1], 0.02);
  EXPECT_EQ(c.Dist.GetRadiusList()[2] + c.Dist.GetDistortionList()[2], 0.0);
  // Fiducial names padded with blanks or tabs.
  WriteDevice(L"\\c.cmr", std::string(kHead) + "2\n  F1 10.0 -5.0\n\tMark_2\t1.5\t2.5  // c\n");
  ASSERT_EQ(c.Read(L"\\c.cmr"), 1);
  ASSERT_EQ(c.FiducialMarks.GetSize(), 2);
  EXPECT_EQ(c.FiducialMarks[0].Name, L"F1");
  EXPECT_THAT(c.FiducialMarks[0], IsNearXYZ(10.0, -5.0, 0.0, 0.0));
  EXPECT_EQ(c.FiducialMarks[1].Name, L"Mark_2");
  EXPECT_EQ(c.UseFiducial, 1);
}

TEST_F(CameraFile, MissingMandatoryLinesFail) {
  const std::string head(kHead);
  // Cut the file after each mandatory line in turn: every cut fails.
  size_t at = 0;
  int cuts = 0;
  while ((at = head.find('\n', at)) != std::string::npos) {
    ++at;
    WriteDevice(L"\\d.cmr", head.substr(0, at));
    CCamera c;
    EXPECT_EQ(c.Read(L"\\d.cmr"), 0) << "cut at " << at;
    ++cuts;
  }
  EXPECT_EQ(cuts, 11);
  // An empty line where a value belongs fails too, keeping what was read.
  WriteDevice(L"\\e.cmr", "7.25\n\n0.1\n");
  CCamera c;
  EXPECT_EQ(c.Read(L"\\e.cmr"), 0);
  EXPECT_EQ(c.FocalLength, 7.25);
  // So do fewer fiducial lines than announced.
  WriteDevice(L"\\f.cmr", head + "2\nF1 1 2\n");
  EXPECT_EQ(c.Read(L"\\f.cmr"), 0);
}

TEST_F(CameraFile, NoNameOrMissingFile) {
  CCamera c;
  EXPECT_EQ(c.Write(nullptr), 0);
  EXPECT_EQ(c.Write(L""), 0);
  EXPECT_EQ(c.Read(L"\\missing.cmr"), 0);
  EXPECT_EQ(boxes_.size(), 0u);  // not found: silent
}

TEST_F(CameraFile, ExampleWideCameraReads) {
  CCamera c;
  const std::string path = testing_support::SourcePath("examples/camera_wide.cmr");
  ASSERT_EQ(c.Read(platform::Utf8ToWide(path).c_str()), 1);
  EXPECT_NEAR(c.FocalLength, 8.0, 0.5);
  EXPECT_EQ(c.Resolution.X, 0.0056);
  EXPECT_EQ(c.Dist.GetDistModel(), DIST_RADIAL_DECENTER);
  EXPECT_EQ(c.Dist.GetNumPara(), 4);
  EXPECT_LT(c.Dist.GetPara(0), 0.0);  // barrel distortion of a wide lens
  // The principal point is measured from the sensor's top-left corner, so it
  // lies near the middle of the 640 x 480 sensor (1.792, 1.344 mm).
  EXPECT_NEAR(c.PrincipalPoint.X, 320 * 0.0056, 0.05);
  EXPECT_NEAR(c.PrincipalPoint.Y, 240 * 0.0056, 0.05);
}

TEST_F(CameraFile, CopiesAreDeep) {
  CCamera* a = new CCamera(Wide());
  CCamera b;
  b = *a;
  a->FiducialMarks[0].Name = L"changed";
  a->Dist.GetRadiusList()[0] = 99.0;
  delete a;
  EXPECT_EQ(b.FiducialMarks[0].Name, L"F1");
  EXPECT_EQ(b.Dist.GetRadiusList()[0], 0.5);
  b.Init();
  EXPECT_EQ(b.FiducialMarks.GetSize(), 0);
  EXPECT_EQ(b.Dist.GetDistModel(), DIST_NONE);
}

}  // namespace
