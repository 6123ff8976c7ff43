// Fault matrix of the file readers and writers.
#include <gtest/gtest.h>

#include <string>

#include "camera/camera.h"
#include "camera/least_sq.h"
#include "camera/vkr3za_calib.h"
#include "devices/devices.h"
#include "platform/registry.h"
#include "pointfiles/point_files.h"
#include "tests/faults/fault_matrix.h"
#include "tests/image/image_test_util.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;
using namespace fault_matrix;

constexpr const char kOld[] = "previous contents\n";

class FileFaults : public FaultMatrix<> {
 protected:
  void SetUp() override {
    FaultMatrix::SetUp();
    devices::RegisterAll();
  }
};

CCamera SampleCamera() {
  CCamera cam;
  cam.FocalLength = 8.25;
  cam.PrincipalPoint = CXYZ(1.8, 1.3, 0);
  cam.Resolution = CXYZ(0.0056, 0.0056, 0);
  cam.Dist.SetDistModel(DIST_RADIAL);
  cam.Dist.AddPara(0, 1e-4);
  cam.Dist.AddPara(1, -2e-6);
  return cam;
}

PointArray Site(int n) {
  PointArray points;
  for (int i = 0; i < n; ++i) {
    CXYZ p(L"", 100.0 + i, 200.0 - i, 10.0);
    p.Name.Format(L"S%04d", i);
    points.Add(p);
  }
  return points;
}

struct Saver {  // a writer that replaces a whole file
  const char* name;
  const wchar_t* path;
  std::function<int()> save;
  bool namesRefusedFile;  // a refused open shows the file's name
};

// Whatever call of a whole-file save fails, the previous file stays byte for
// byte, no temporary is left and the writer answers 0; only a refused open
// is reported.
TEST_F(FileFaults, WholeFileSaves) {
  PointArray pts = Site(300);  // about 12 kB: several reader blocks
  CSize size(640, 480);
  CDibEx picture;
  image_test::Fill24(picture, 320, 240, 7);  // noise: the encoder writes several blocks
  CString bmp(L"\\p.bmp"), jpg(L"\\p.jpg");
  const auto setCard = [](const wchar_t* folder) {
    return platform::registry::SetString(
        L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", folder);
  };
  CLeastSq lsq(2);
  lsq.SetNoeq(0, 0, 4.0);
  const wchar_t* store = platform::registry::StorePath();
  const Saver savers[] = {
      {"CCamera::Write", L"\\c.cmr", [] { return SampleCamera().Write(L"\\c.cmr"); }, true},
      {"VKR3ZA_CALIB::Write", L"\\o.txt", [] { return VKR3ZA_CALIB().Write(L"\\o.txt"); }, true},
      {"WriteCSVFile(replace)", L"\\p.csv", [&] { return WriteCSVFile(L"\\p.csv", pts, 0); }, true},
      {"WriteImcFile", L"\\p.imc", [&] { return WriteImcFile(L"\\p.imc", L"t", size, pts); }, true},
      {"CDibEx::WriteBMP", L"\\p.bmp", [&] { return picture.WriteBMP(bmp); }, false},
      {"CDibEx::WriteJPEG", L"\\p.jpg", [&] { return picture.WriteJPEG(jpg); }, false},
      {"CLeastSq::SaveErrorNoeqStatus",
       L"\\Noeq.txt",
       [&] { return lsq.SaveErrorNoeqStatus(2, 2); },
       false},
      {"registry::SetString", store, [&] { return int(setCard(L"\\New")); }, false},
  };

  for (const Saver& s : savers) {
    Drill({s.name,
           [&] {
             if (s.path == store)
               ASSERT_TRUE(setCard(L"\\Storage Card"));  // the store has its own format
             else
               PutDeviceFile(s.path, kOld);
           },
           s.save,
           [&](const Faulted& f) {
             EXPECT_EQ(f.result, 0);
             ExpectRefused(f, f.point == "file.open" && s.namesRefusedFile ? s.path : L"");
           },
           true});
  }
  // An appended record that cannot be written whole leaves the file as it was.
  Drill({"ScanFileAdd",
         [&] { PutDeviceFile(L"\\s.txt", kOld); },
         [&] { return ScanFileAdd(L"\\s.txt", CXYZ(L"P1", 1, 2, 3), L"note"); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, 0);
           if (f.point == "file.open") {
             ASSERT_EQ(f.boxes.size(), 3u);  // access refused, then ScanFileOpen, ScanFileAdd
             EXPECT_EQ(f.boxes[1].caption, L"ScanFileOpen");
             EXPECT_EQ(f.boxes[2].caption, L"ScanFileAdd");
           }
         },
         true});
}

TEST_F(FileFaults, CameraAndOrientationReads) {
  CCamera cam;
  Drill({"CCamera::Read",
         [&] {
           SampleCamera().Write(L"\\r.cmr");
           cam.Init();
           cam.FocalLength = -7.0;
         },
         [&] { return cam.Read(L"\\r.cmr"); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, 0);
           EXPECT_EQ(cam.FocalLength, -7.0);  // nothing was read: nothing changed
           ExpectRefused(f, f.point == "file.open" ? L"\\r.cmr" : L"");
         }});

  VKR3ZA_CALIB calib;
  Drill({"VKR3ZA_CALIB::Read",
         [&] {
           VKR3ZA_CALIB source;
           source.Ccd1CenterX = 301;
           source.Ccd2Offset = CXYZ(1.5, -2.5, 3.5);
           source.Write(L"\\r.txt");
           calib = VKR3ZA_CALIB();
           calib.Ccd2Offset.Z = 99.0;
         },
         [&] { return calib.Read(L"\\r.txt"); },
         [&](const Faulted& f) {
           if (f.result == 0) return ExpectRefused(f, L"\\r.txt");
           // Only the line end of the last line was lost: every value is in.
           EXPECT_TRUE(f.boxes.empty());
           EXPECT_EQ(calib.Ccd1CenterX + calib.Ccd2Offset.Z, 301 + 3.5);
         }});
}

TEST_F(FileFaults, PointFileReads) {
  PointArray site = Site(300), read;
  Drill({"ReadCSVFile",
         [&] {
           WriteCSVFile(L"\\r.csv", site, 0);
           read.RemoveAll();
         },
         [&] { return ReadCSVFile(L"\\r.csv", read, 1); },
         [&](const Faulted& f) {
           // A read that fails looks like the end of the file: the points
           // before it come back, and never a wrong one.
           EXPECT_EQ(f.result, f.point == "file.open" ? 0 : 1);
           ExpectRefused(f, f.point == "file.open" ? L"\\r.csv" : L"");
           EXPECT_LE(read.GetSize(), site.GetSize());
           for (int i = 0; i < read.GetSize(); ++i) EXPECT_EQ(read[i].X, site[i].X);
         }});
  CKvoString title;
  CSize size(640, 480);
  Drill({"ReadImcFile",
         [&] {
           WriteImcFile(L"\\r.imc", L"title", size, site);
           read.RemoveAll();
         },
         [&] { return ReadImcFile(L"\\r.imc", title, size, read, 1); },
         [&](const Faulted& f) {
           if (f.point == "file.open") ExpectRefused(f, L"\\r.imc");
           // The count line promises 300 points: a cut file fails, unless
           // only the final end-of-file read was lost.
           if (f.result == 1) {
             ASSERT_EQ(read.GetSize(), site.GetSize());
             EXPECT_EQ(read[299].X, site[299].X);
           }
           EXPECT_TRUE(f.result == 0 || f.point == "file.read");
         }});
}

// A failed BMP read keeps its blocks attached until the next Empty (the leak
// check counts them against the clean read's); a failed JPEG read attaches nothing.
TEST_F(FileFaults, BitmapAndJpegReads) {
  CDibEx picture, loaded;
  image_test::Fill24(picture, 96, 64, 7);
  for (const bool bmp : {true, false}) {
    CString path(bmp ? L"\\p.bmp" : L"\\p.jpg");
    Drill({bmp ? "CDibEx::ReadBMP" : "CDibEx::ReadJPEG",
           [&] {
             bmp ? picture.WriteBMP(path) : picture.WriteJPEG(path);
             loaded.Empty();
           },
           [&] { return bmp ? loaded.ReadBMP(path) : loaded.ReadJPEG(path); },
           [&](const Faulted& f) {
             ExpectOutcome(f, FALSE);
             EXPECT_TRUE(bmp || loaded.m_imageBits == nullptr);
           }});
  }
}

}  // namespace
