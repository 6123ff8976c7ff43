// Safe saves: every writer that replaces a whole file, with the disk cut off
// at each of its writes in turn, at the flush and at the rename. The previous
// file must survive byte for byte, no temporary may stay behind, no file may
// stay open, and the writer answers 0 without a message.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "camera/least_sq.h"
#include "camera/vkr3za_calib.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "platform/faults.h"
#include "platform/registry.h"
#include "pointfiles/point_files.h"
#include "tests/image/image_test_util.h"
#include "tests/support/test_support.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

// One writer: `write(version)` replaces the file at `path` with contents
// that differ between version 1 and version 2.
struct Writer {
  const char* name;
  const wchar_t* path;
  std::function<int(int version)> write;
  // Writes a save takes at least, so that a disk filling up after the first
  // one is met part-way.
  int minWrites = 1;
};

class SafeSave : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    devices::eeprom::Reset();
  }

  std::string Bytes(const wchar_t* path) const { return ReadHostFile(Host(path)); }
  bool TempLeft(const wchar_t* path) const { return std::filesystem::exists(Host(path) + ".tmp~"); }

  // The whole drill for one writer.
  void Drill(const Writer& w) {
    SCOPED_TRACE(w.name);
    ASSERT_EQ(w.write(1), 1);
    const std::string v1 = Bytes(w.path);
    platform::fault::ResetCounts();
    ASSERT_EQ(w.write(2), 1);
    const int writes = platform::fault::Calls("file.write");
    const std::string v2 = Bytes(w.path);
    ASSERT_NE(v1, v2);
    ASSERT_GE(writes, w.minWrites);
    ASSERT_EQ(w.write(1), 1);
    ASSERT_EQ(Bytes(w.path), v1);
    boxes_.clear();

    auto expectKept = [&](const std::string& what) {
      EXPECT_EQ(Bytes(w.path), v1) << what;
      EXPECT_FALSE(TempLeft(w.path)) << what;
      EXPECT_EQ(CFile::OpenFiles(), 0) << what;
      EXPECT_EQ(boxes_.size(), 0u) << what;
    };
    for (int skip = 0; skip < writes; ++skip) {
      platform::fault::Arm("file.write", skip);
      EXPECT_EQ(w.write(2), 0) << "write " << skip;
      expectKept("write " + std::to_string(skip));
      platform::fault::Disarm("file.write");
    }
    for (const char* point : {"file.flush", "file.rename"}) {
      platform::fault::Arm(point);
      EXPECT_EQ(w.write(2), 0) << point;
      expectKept(point);
      platform::fault::Disarm(point);
    }
    EXPECT_EQ(w.write(2), 1);
    EXPECT_EQ(Bytes(w.path), v2);
    EXPECT_FALSE(TempLeft(w.path));
  }
};

PointArray SitePoints(int version) {
  PointArray points;
  for (int i = 0; i < 40 * version; ++i) {
    CXYZ p(L"", 1000.0 + i * 1.25, 2000.0 - i * 0.5, 50.0 + version);
    p.Name.Format(L"P%03d", i);
    points.Add(p);
  }
  return points;
}

TEST_F(SafeSave, CameraFile) {
  Drill({"camera", L"\\cam.cmr", [](int version) {
           CCamera cam;
           cam.FocalLength = 8.0 + version;
           cam.PrincipalPoint = CXYZ(1.792, 1.344, 0);
           cam.Resolution = CXYZ(0.0056, 0.0056, 0);
           cam.Dist.SetDistModel(DIST_RADIAL_DECENTER);
           for (int i = 0; i < 4; ++i) cam.Dist.AddPara(i, 1e-4 * (i + version));
           return cam.Write(L"\\cam.cmr");
         }});
}

TEST_F(SafeSave, OrientationFile) {
  Drill({"orientation", L"\\orient.txt", [](int version) {
           VKR3ZA_CALIB calib;
           calib.Ccd1CenterX = 300 + version;
           calib.Ccd2Offset = CXYZ(0.1 * version, -0.2, 0.3);
           return calib.Write(L"\\orient.txt");
         }});
}

TEST_F(SafeSave, PointFilesInReplaceMode) {
  Drill({"csv", L"\\site.csv", [](int version) {
           PointArray points = SitePoints(version);
           return WriteCSVFile(L"\\site.csv", points, 0);
         }});
  Drill({"imc", L"\\marks.imc", [](int version) {
           PointArray points = SitePoints(version);
           CSize size(640, 480);
           return WriteImcFile(L"\\marks.imc", L"marks", size, points);
         }});
}

TEST_F(SafeSave, BitmapAndJpeg) {
  Drill({"bmp", L"\\pic.bmp", [](int version) {
           CDibEx dib;
           image_test::Fill24(dib, 33 + version, 21, uint32_t(version));
           CString path(L"\\pic.bmp");
           return dib.WriteBMP(path);
         }});
  Drill({"jpeg",
         L"\\pic.jpg",
         [](int version) {
           CDibEx dib;
           // Noise at quality 100: a few hundred kB, so the encoder writes several blocks.
           image_test::Fill24(dib, 320, 240, uint32_t(version));
           CString path(L"\\pic.jpg");
           return dib.WriteJPEG(path);
         },
         /*minWrites=*/2});
}

TEST_F(SafeSave, EepromAndRegistryStores) {
  // Every item write replaces the whole memory file; the other items ride along.
  for (int index = 81; index <= 99; ++index)
    ASSERT_TRUE(devices::eeprom::SetItem(index, std::vector<uint8_t>(8, uint8_t(index))));
  Drill({"eeprom", L"\\eeprom.txt", [](int version) {
           return devices::eeprom::SetItem(80, std::vector<uint8_t>(8, uint8_t(version))) ? 1 : 0;
         }});
  Drill({"registry", platform::registry::StorePath(), [](int version) {
           return platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory",
                                                L"PCMCIAFolder",
                                                version == 1 ? L"\\Card" : L"\\Storage Card")
                      ? 1
                      : 0;
         }});
}

TEST_F(SafeSave, NormalEquationDump) {
  Drill({"noeq", L"\\Noeq.txt", [](int version) {
           CLeastSq lsq(2);
           lsq.SetNoeq(0, 0, 4.0 * version);
           lsq.SetNoeq(1, 1, 2.0);
           return lsq.SaveErrorNoeqStatus(2, 2);
         }});
}

// Scan files are appended to, not replaced: a failure in a later record must
// leave every earlier record in place.
TEST_F(SafeSave, ScanFileKeepsEarlierRecords) {
  ASSERT_EQ(ScanFileAdd(L"\\scan.txt", CXYZ(L"A", 1, 2, 3)), 1);
  ASSERT_EQ(ScanFileAdd(L"\\scan.txt", CXYZ(L"B", 4, 5, 6)), 1);
  const std::string before = Bytes(L"\\scan.txt");
  platform::fault::Arm("file.write");
  EXPECT_EQ(ScanFileAdd(L"\\scan.txt", CXYZ(L"C", 7, 8, 9)), 0);
  EXPECT_EQ(Bytes(L"\\scan.txt"), before);
  ASSERT_EQ(ScanFileAdd(L"\\scan.txt", CXYZ(L"D", 1, 1, 1)), 1);
  const std::string after = Bytes(L"\\scan.txt");
  EXPECT_EQ(after.substr(0, before.size()), before);
  EXPECT_NE(after.find("D,"), std::string::npos);
  EXPECT_FALSE(TempLeft(L"\\scan.txt"));
}

}  // namespace
