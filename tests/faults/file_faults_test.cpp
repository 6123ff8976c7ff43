// Fault matrix of the file readers and writers: camera file, orientation
// file, point files, scan file, BMP and JPEG.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "camera/camera.h"
#include "camera/vkr3za_calib.h"
#include "devices/devices.h"
#include "pointfiles/point_files.h"
#include "tests/faults/fault_matrix.h"
#include "tests/image/image_test_util.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

using fault_matrix::Faulted;
using fault_matrix::FaultMatrix;
using fault_matrix::Operation;

constexpr const char kOld[] = "previous contents\n";

bool IsSavePoint(const std::string& point) {
  return point == "file.write" || point == "file.flush" || point == "file.rename";
}

class FileFaults : public FaultMatrix {
 protected:
  void SetUp() override {
    FaultMatrix::SetUp();
    devices::RegisterAll();
  }
  std::string Bytes(const wchar_t* path) const { return ReadHostFile(Host(path)); }
  void Put(const wchar_t* path, const std::string& bytes) const {
    WriteHostFile(Host(path), bytes);
  }

  // A failed open for writing whose cause is access refused shows the file
  // name in one box captioned "ERROR".
  void ExpectAccessRefused(const Faulted& f, const wchar_t* path) const {
    ASSERT_EQ(f.boxes.size(), 1u);
    EXPECT_NE(f.boxes[0].text.find(path), std::wstring::npos);
    EXPECT_EQ(f.boxes[0].caption, L"ERROR");
  }
  // A writer that replaces `path`: whatever failed, the old bytes stay.
  void ExpectOldKept(const wchar_t* path) const {
    EXPECT_EQ(Bytes(path), kOld);
    EXPECT_FALSE(std::filesystem::exists(Host(path) + ".tmp~"));
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

TEST_F(FileFaults, CameraFile) {
  Drill({"CCamera::Write",
         [&] { Put(L"\\c.cmr", kOld); },
         [] { return SampleCamera().Write(L"\\c.cmr"); },
         [&](const Faulted& f) {
           ExpectOldKept(L"\\c.cmr");
           if (f.point == "file.open") {
             EXPECT_EQ(f.result, 0);
             ExpectAccessRefused(f, L"\\c.cmr");
           } else {
             EXPECT_TRUE(IsSavePoint(f.point));
             EXPECT_EQ(f.result, 0);  // the old file stays, and the caller learns it
             EXPECT_TRUE(f.boxes.empty());
           }
         }});

  CCamera read;
  Drill({"CCamera::Read",
         [&] {
           SampleCamera().Write(L"\\r.cmr");
           read.Init();
           read.FocalLength = -7.0;
         },
         [&] { return read.Read(L"\\r.cmr"); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, 0);
           EXPECT_EQ(read.FocalLength, -7.0);  // nothing was read: nothing changed
           if (f.point == "file.open")
             ExpectAccessRefused(f, L"\\r.cmr");
           else
             EXPECT_TRUE(f.boxes.empty());
         }});
}

TEST_F(FileFaults, OrientationFile) {
  VKR3ZA_CALIB calib;
  Drill({"VKR3ZA_CALIB::Write",
         [&] { Put(L"\\o.txt", kOld); },
         [&] { return calib.Write(L"\\o.txt"); },
         [&](const Faulted& f) {
           ExpectOldKept(L"\\o.txt");
           if (f.point == "file.open") {
             EXPECT_EQ(f.result, 0);
             EXPECT_EQ(OnlyCaption(f), L"ERROR");
             EXPECT_EQ(OnlyText(f).rfind(L"\\o.txt\n", 0), 0u);
           } else {
             EXPECT_TRUE(IsSavePoint(f.point));
             EXPECT_EQ(f.result, 0);
             EXPECT_TRUE(f.boxes.empty());
           }
         }});

  VKR3ZA_CALIB read;
  Drill({"VKR3ZA_CALIB::Read",
         [&] {
           VKR3ZA_CALIB source;
           source.Ccd1CenterX = 301;
           source.Ccd2Offset = CXYZ(1.5, -2.5, 3.5);
           source.Write(L"\\r.txt");
           read = VKR3ZA_CALIB();
           read.Ccd2Offset.Z = 99.0;
         },
         [&] { return read.Read(L"\\r.txt"); },
         [&](const Faulted& f) {
           if (f.result == 1) {
             // Only the line end of the last line was lost: every value is in.
             EXPECT_TRUE(f.boxes.empty());
             EXPECT_EQ(read.Ccd1CenterX, 301);
             EXPECT_EQ(read.Ccd2Offset.Z, 3.5);
             return;
           }
           EXPECT_EQ(OnlyCaption(f), L"ERROR");
           EXPECT_EQ(OnlyText(f).rfind(L"\\r.txt\n", 0), 0u);
         }});
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

TEST_F(FileFaults, PointFiles) {
  PointArray site = Site(300);  // about 12 kB: several reader blocks
  auto replaceCheck = [&](const wchar_t* path) {
    return [this, path](const Faulted& f) {
      EXPECT_EQ(f.result, 0);
      ExpectOldKept(path);
      if (f.point == "file.open")
        ExpectAccessRefused(f, path);
      else
        EXPECT_TRUE(f.boxes.empty());
    };
  };
  Drill({"WriteCSVFile(replace)",
         [&] { Put(L"\\p.csv", kOld); },
         [&] { return WriteCSVFile(L"\\p.csv", site, 0); },
         replaceCheck(L"\\p.csv")});
  Drill({"WriteImcFile",
         [&] { Put(L"\\p.imc", kOld); },
         [&] {
           CSize size(640, 480);
           return WriteImcFile(L"\\p.imc", L"title", size, site);
         },
         replaceCheck(L"\\p.imc")});
  Drill({"WriteCSVFile(append)",
         [&] { Put(L"\\a.csv", kOld); },
         [&] { return WriteCSVFile(L"\\a.csv", site, 1); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, 0);
           EXPECT_EQ(Bytes(L"\\a.csv").rfind(kOld, 0), 0u) << "earlier lines stay";
           if (f.point == "file.open") ExpectAccessRefused(f, L"\\a.csv");
         }});

  PointArray read;
  Drill({"ReadCSVFile",
         [&] {
           WriteCSVFile(L"\\r.csv", site, 0);
           read.RemoveAll();
         },
         [&] { return ReadCSVFile(L"\\r.csv", read, 1); },
         [&](const Faulted& f) {
           if (f.point == "file.open") {
             EXPECT_EQ(f.result, 0);
             ExpectAccessRefused(f, L"\\r.csv");
             return;
           }
           // A read that fails looks like the end of the file: the points
           // before it come back, and never a wrong one.
           EXPECT_EQ(f.result, 1);
           EXPECT_LE(read.GetSize(), site.GetSize());
           for (int i = 0; i < read.GetSize(); ++i) EXPECT_EQ(read[i].X, site[i].X);
           EXPECT_TRUE(f.boxes.empty());
         }});
  CKvoString title;
  CSize size;
  Drill({"ReadImcFile",
         [&] {
           CSize written(640, 480);
           WriteImcFile(L"\\r.imc", L"title", written, site);
           read.RemoveAll();
           title = L"kept";
         },
         [&] { return ReadImcFile(L"\\r.imc", title, size, read, 1); },
         [&](const Faulted& f) {
           if (f.point == "file.open") ExpectAccessRefused(f, L"\\r.imc");
           // The count line promises 300 points: a cut file fails, unless
           // only the final end-of-file read was lost.
           if (f.result == 1) {
             ASSERT_EQ(read.GetSize(), site.GetSize());
             EXPECT_EQ(read[299].X, site[299].X);
           }
           EXPECT_TRUE(f.result == 0 || f.point == "file.read");
         }});
  Drill({"ScanFileAdd",
         [&] { Put(L"\\s.txt", kOld); },
         [&] { return ScanFileAdd(L"\\s.txt", CXYZ(L"P1", 1, 2, 3), L"note"); },
         [&](const Faulted& f) {
           EXPECT_EQ(f.result, 0);
           EXPECT_EQ(Bytes(L"\\s.txt").rfind(kOld, 0), 0u);
           if (f.point == "file.open") {
             ASSERT_EQ(f.boxes.size(), 3u);  // access refused, then ScanFileOpen, ScanFileAdd
             EXPECT_EQ(f.boxes[1].caption, L"ScanFileOpen");
             EXPECT_EQ(f.boxes[2].caption, L"ScanFileAdd");
           }
         }});
}

TEST_F(FileFaults, BitmapAndJpeg) {
  CDibEx picture;
  image_test::Fill24(picture, 96, 64, 7);
  CString bmp(L"\\p.bmp"), jpg(L"\\p.jpg");
  auto saveCheck = [&](const wchar_t* path) {
    return [this, path](const Faulted& f) {
      EXPECT_EQ(f.result, FALSE);
      ExpectOldKept(path);
      EXPECT_TRUE(f.boxes.empty());
    };
  };
  Drill({"CDibEx::WriteBMP",
         [&] { Put(L"\\p.bmp", kOld); },
         [&] { return picture.WriteBMP(bmp); },
         saveCheck(L"\\p.bmp")});
  Drill({"CDibEx::WriteJPEG",
         [&] { Put(L"\\p.jpg", kOld); },
         [&] { return picture.WriteJPEG(jpg); },
         saveCheck(L"\\p.jpg")});

  // A failed BMP read keeps the blocks it had allocated attached until the
  // next Empty (the leak check counts them against the clean read's); a
  // failed JPEG read attaches nothing.
  CDibEx loaded;
  auto loadCheck = [&](const Faulted& f) {
    EXPECT_EQ(f.result, FALSE);
    EXPECT_TRUE(f.boxes.empty());
  };
  Drill({"CDibEx::ReadBMP",
         [&] {
           picture.WriteBMP(bmp);
           loaded.Empty();
         },
         [&] { return loaded.ReadBMP(bmp); },
         loadCheck});
  Drill({"CDibEx::ReadJPEG",
         [&] {
           picture.WriteJPEG(jpg);
           loaded.Empty();
         },
         [&] { return loaded.ReadJPEG(jpg); },
         [&](const Faulted& f) {
           loadCheck(f);
           EXPECT_EQ(loaded.m_imageBits, nullptr);
         }});
}

}  // namespace
