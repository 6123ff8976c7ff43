// Calibration memory records of CCaptureWnd over the "EEP.DLL" module: item
// layout, defaults for a never-written memory, SXGA rescaling and the user
// offsets (failures: tests/faults).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "liveview/capture_wnd.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

// The members items 80..99 map to, in item order.
std::vector<double> Members(const CCaptureWnd& w) {
  const CCamera& c = w.m_Camera;
  std::vector<double> v = {c.FocalLength, c.PrincipalPoint.X, c.PrincipalPoint.Y};
  v.push_back(c.Dist.GetDistModel());
  for (int i = 0; i < 4; ++i) v.push_back(c.Dist.GetPara(i));
  v.insert(v.end(), {c.Resolution.X, c.Resolution.Y});
  v.insert(v.end(), {double(w.m_nCenterX[1]), double(w.m_nCenterY[1])});
  v.insert(v.end(), {double(w.m_nCenterX[0]), double(w.m_nCenterY[0])});
  v.insert(v.end(), {w.m_CcdOffset.X, w.m_CcdOffset.Y, w.m_CcdOffset.Z});
  v.insert(v.end(), {w.m_CcdAngle.omega, w.m_CcdAngle.phi, w.m_CcdAngle.kappa});
  return v;
}

// Gives every item's member a value that tells set A from set B.
void Fill(CCaptureWnd& w, bool a) {
  auto d = [a](int index) { return a ? 1000 + index + 0.25 : -index - 0.5; };
  w.m_Camera.FocalLength = d(80);
  w.m_Camera.PrincipalPoint = CXYZ(d(81), d(82), 0);
  w.m_Camera.Dist.SetDistModel(a ? DIST_RADIAL_DECENTER : DIST_RADIAL);
  for (int i = 0; i < 4; ++i) w.m_Camera.Dist.AddPara(i, d(84 + i));
  w.m_Camera.Resolution = CXYZ(d(88), d(89), 0);
  const int base = a ? 300 : 100;
  w.m_nCenterX[1] = base + 90;
  w.m_nCenterY[1] = base + 91;
  w.m_nCenterX[0] = base + 92;
  w.m_nCenterY[0] = base + 93;
  w.m_CcdOffset = CXYZ(d(94), d(95), d(96));
  w.m_CcdAngle = CWPK(d(97), d(98), d(99));
}

class FlashTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    eep::Reset();
  }
};

TEST_F(FlashTest, NeverWrittenMemoryGivesDefaultsSilently) {
  CCaptureWnd w;
  Fill(w, false);
  EXPECT_TRUE(w.FlashReadCmr());
  EXPECT_TRUE(w.FlashReadDat());
  std::vector<double> want = Members(w);
  // f, principal point, model and pixel size default; K1..P2 stay as they
  // are; the centres default, and the offsets, after item 90 failed, stay.
  want[0] = 8.0, want[1] = 1.792, want[2] = 1.344, want[3] = DIST_NONE;
  want[8] = want[9] = 0.0056;
  want[10] = want[12] = 320, want[11] = want[13] = 240;
  EXPECT_EQ(Members(w), want);
  EXPECT_EQ(w.m_CcdOffset.X, -94.5);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(FlashTest, WrittenRecordsReadBackInItemLayout) {
  CCaptureWnd writer, reader;
  Fill(writer, true);
  ASSERT_TRUE(writer.FlashWriteCmr());
  ASSERT_TRUE(writer.FlashWriteDat());
  EXPECT_EQ(eep::Item(80)->size(), 8u);
  EXPECT_EQ(eep::Item(83), (std::vector<uint8_t>{2, 0, 0, 0}));
  EXPECT_EQ(eep::Item(90), (std::vector<uint8_t>{0x86, 0x01}));  // CCD1x = camera 1 = 390
  EXPECT_EQ(eep::Item(92)->size(), 2u);
  EXPECT_EQ(eep::Item(99)->size(), 8u);
  Fill(reader, false);
  EXPECT_TRUE(reader.FlashReadCmr());
  EXPECT_TRUE(reader.FlashReadDat());
  EXPECT_EQ(Members(reader), Members(writer));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(FlashTest, SxgaModeHalvesTheStoredCentres) {
  ASSERT_TRUE(eep::SetItem(90, {0xA0, 0x02}));  // 672
  ASSERT_TRUE(eep::SetItem(91, {0xE0, 0x01}));  // 480
  ASSERT_TRUE(eep::SetItem(92, {0x20, 0x00}));  // 32
  ASSERT_TRUE(eep::SetItem(93, {0xFF, 0xFF}));  // -1
  CCaptureWnd w;
  Fill(w, false);
  w.SetSXGAMode(1);
  EXPECT_TRUE(w.FlashReadDat());  // item 94 missing: offsets default, result TRUE
  EXPECT_EQ(w.m_CcdOffset.Z, 0.0);
  EXPECT_EQ(w.m_CcdAngle.kappa, 0.0);
  // (x - 32) / 2 and y / 2, rounded half up: -1 gives trunc(-0.5 + 0.5) = 0.
  EXPECT_EQ((std::vector<int>{w.m_nCenterX[1], w.m_nCenterY[1], w.m_nCenterX[0], w.m_nCenterY[0]}),
            (std::vector<int>{320, 240, 0, 0}));
  ASSERT_TRUE(eep::EraseAll());  // defaults are rescaled too
  CCaptureWnd fresh;
  fresh.SetSXGAMode(1);
  EXPECT_TRUE(fresh.FlashReadDat());
  EXPECT_EQ(fresh.m_nCenterX[0], 144);
  EXPECT_EQ(fresh.m_nCenterY[0], 120);
}

TEST_F(FlashTest, UserOffsetsMoveTheCentresAndWriteThem) {
  CCaptureWnd w;
  w.m_nCenterX[1] = 320, w.m_nCenterY[1] = 240, w.m_nCenterX[0] = 310, w.m_nCenterY[0] = 250;
  w.m_nUserCCDOffsetX[1] = 3, w.m_nUserCCDOffsetY[1] = -2;
  w.m_nUserCCDOffsetX[0] = -1, w.m_nUserCCDOffsetY[0] = 4;
  EXPECT_TRUE(w.UserCCDOffsetSet());
  EXPECT_EQ((std::vector<int>{w.m_nCenterX[1], w.m_nCenterY[1], w.m_nCenterX[0], w.m_nCenterY[0]}),
            (std::vector<int>{323, 238, 309, 254}));
  EXPECT_EQ(eep::Item(92), (std::vector<uint8_t>{0x35, 0x01}));  // 309
  EXPECT_FALSE(eep::Item(94).has_value());
}

}  // namespace
