// The camera file: exact bytes written, read and written again; hand-written files.
#include "camera/camera.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/matchers.h"
#include "tests/support/test_support.h"

namespace {

using testing_support::IsNearXYZ;

class CameraFile : public testing_support::DeviceTest {
 protected:
  void Put(const wchar_t* path, const std::string& text) { WriteHostFile(Host(path), text); }
};

TEST_F(CameraFile, ExactBytesReadBack) {
  CCamera c;
  c.FocalLength = 8.0123;
  c.PrincipalPoint.SetXYZ(0.01, -0.02, 0);
  c.Resolution.SetXYZ(0.0056, 0.0057, 0);
  c.Dist.SetDistModel(DIST_RADIAL_DECENTER);
  const double para[] = {-2.5e-3, 1.25e-4, -3e-5, 4e-6};
  for (int i = 0; i < 4; ++i) c.Dist.AddPara(i, para[i]);
  c.FiducialMarks.SetSize(2);
  c.FiducialMarks[0] = CXYZ(L"F1", 1.0, 2.0, 0.0);
  c.FiducialMarks[1] = CXYZ(L"F2", -10.5, 5.25, 0.0);
  c.Dist.AddDist(0.5, 0.25);
  c.Dist.GetRadiusList().Add(9.0);  // the longer list is cut to the shorter
  EXPECT_EQ(c.Write(nullptr) + c.Write(L""), 0);
  ASSERT_EQ(c.Write(L"\\exact.cmr"), 1);
  EXPECT_EQ(c.Name, L"exact");
  const std::string bytes = ReadHostFile(Host(L"\\exact.cmr"));
  EXPECT_EQ(bytes,
            "8.012300\t\t\t// focul length [mm]\n"
            "0.010000\t\t\t// x of principal point [m]\n"
            "-0.020000\t\t\t// y of principal point [m]\n"
            "2\t\t\t\t\t// distortion model\n"
            "4\t\t\t\t\t// number of distortion parameters\n"
            "-2.500000e-03\t\t// distortion parameter 1\n"
            "1.250000e-04\t\t// distortion parameter 2\n"
            "-3.000000e-05\t\t// distortion parameter 3\n"
            "4.000000e-06\t\t// distortion parameter 4\n"
            "0.005600\t\t\t// x resolution [mm/pixel]\n"
            "0.005700\t\t\t// y resolution [mm/pixel]\n"
            "2\t\t\t\t\t// number of fiducial marks\n"
            "F1\t1.000000\t2.000000\t// coordinates of fiducial mark 1 [mm]\n"
            "F2\t-10.500000\t5.250000\t// coordinates of fiducial mark 2 [mm]\n"
            "1\t\t\t\t\t// number of radial distortion values\n"
            "0.500000\t0.250000\t// radius and  radial distortion value 1 [mm]\n");
  CCamera r;
  ASSERT_EQ(r.Read(L"\\exact.cmr"), 1);
  EXPECT_TRUE(r.Name.IsEmpty());  // the name comes from Write, not from the contents
  EXPECT_EQ(r.UseFiducial, 1);
  CCamera* a = new CCamera(r);  // copies are deep
  CCamera b;
  b = *a;
  a->FiducialMarks[0].Name = L"changed";
  a->Dist.GetRadiusList()[0] = 99.0;
  delete a;
  ASSERT_EQ(b.Write(L"\\again.cmr"), 1);  // read and copied: the same bytes again
  EXPECT_EQ(ReadHostFile(Host(L"\\again.cmr")), bytes);
}

TEST_F(CameraFile, HandWrittenFilesWithOptionalTablesOrCutShort) {
  const std::string head = "8.5\n0.1\n-0.2\n2\n4\n1e-3\n2e-4\n3e-5\n4e-6\n0.0056\n0.0055\n";
  CCamera c;
  c.Dist.AddDist(1, 2);
  Put(L"\\a.cmr", head + "0\n");  // no fiducial marks, no radial table
  ASSERT_EQ(c.Read(L"\\a.cmr"), 1);
  EXPECT_EQ(c.Dist.GetRadiusList().GetSize() + c.Dist.GetDistortionList().GetSize(), 0);
  EXPECT_EQ(c.UseFiducial, 0);
  EXPECT_EQ(c.Dist.GetPara(3), 4e-6);
  EXPECT_EQ(c.Resolution.Y, 0.0055);
  Put(L"\\b.cmr", head + "0\n3\n0.5 0.01\n1.0\t0.02\n");  // short radial table: zero-padded
  ASSERT_EQ(c.Read(L"\\b.cmr"), 1);
  ASSERT_EQ(c.Dist.GetRadiusList().GetSize(), 3);
  EXPECT_DOUBLE_EQ(c.Dist.GetRadiusList()[1] + c.Dist.GetDistortionList()[1], 1.02);
  EXPECT_EQ(c.Dist.GetRadiusList()[2] + c.Dist.GetDistortionList()[2], 0.0);
  Put(L"\\c.cmr", head + "2\n  F1 10.0 -5.0\n\tMark_2\t1.5\t2.5  // c\n");  // blanks and tabs
  ASSERT_EQ(c.Read(L"\\c.cmr"), 1);
  ASSERT_EQ(c.FiducialMarks.GetSize(), 2);
  EXPECT_EQ(c.FiducialMarks[0].Name, L"F1");
  EXPECT_THAT(c.FiducialMarks[0], IsNearXYZ(10.0, -5.0, 0.0, 0.0));
  EXPECT_EQ(c.FiducialMarks[1].Name, L"Mark_2");
  for (size_t at = head.find('\n'); at != std::string::npos; at = head.find('\n', at + 1)) {
    Put(L"\\d.cmr", head.substr(0, at + 1));  // cut after each mandatory line
    EXPECT_EQ(CCamera().Read(L"\\d.cmr"), 0) << "cut at " << at;
  }
  Put(L"\\e.cmr", "7.25\n\n0.1\n");  // an empty value line fails, keeping what was read
  EXPECT_EQ(c.Read(L"\\e.cmr"), 0);
  EXPECT_EQ(c.FocalLength, 7.25);
  Put(L"\\f.cmr", head + "2\nF1 1 2\n");  // fewer fiducial lines than announced
  EXPECT_EQ(c.Read(L"\\f.cmr") + c.Read(L"\\missing.cmr"), 0);
  EXPECT_EQ(boxes_.size(), 0u);  // not found: silent
}

}  // namespace
