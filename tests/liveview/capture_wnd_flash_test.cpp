// Calibration memory records of CCaptureWnd over the "EEP.DLL" module: the
// item table, the unlock/lock pairing, defaults for a never-written memory,
// SXGA rescaling and the user offsets (failures: tests/faults).
#include <gtest/gtest.h>

#include <string>

#include "camera/memory_items.h"
#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "liveview/capture_wnd.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

// The in-memory value an item maps to.
double Get(CCaptureWnd& w, int index) {
  CCamera& c = w.m_Camera;
  switch (index) {
    case 80:
      return c.FocalLength;
    case 81:
      return c.PrincipalPoint.X;
    case 82:
      return c.PrincipalPoint.Y;
    case 83:
      return c.Dist.GetDistModel();
    case 84:
    case 85:
    case 86:
    case 87:
      return c.Dist.GetPara(index - 84);
    case 88:
      return c.Resolution.X;
    case 89:
      return c.Resolution.Y;
    case 90:
      return w.m_nCenterX[1];
    case 91:
      return w.m_nCenterY[1];
    case 92:
      return w.m_nCenterX[0];
    case 93:
      return w.m_nCenterY[0];
    case 94:
      return w.m_CcdOffset.X;
    case 95:
      return w.m_CcdOffset.Y;
    case 96:
      return w.m_CcdOffset.Z;
    case 97:
      return w.m_CcdAngle.omega;
    case 98:
      return w.m_CcdAngle.phi;
    default:
      return w.m_CcdAngle.kappa;
  }
}

// Fills every item's member with a value that tells set A from set B.
void Fill(CCaptureWnd& w, bool a) {
  auto d = [a](int index) { return a ? 1000 + index + 0.25 : -index - 0.5; };
  w.m_Camera.FocalLength = d(80);
  w.m_Camera.PrincipalPoint.X = d(81);
  w.m_Camera.PrincipalPoint.Y = d(82);
  w.m_Camera.Dist.SetDistModel(a ? DIST_RADIAL_DECENTER : DIST_RADIAL);
  for (int i = 0; i < 4; ++i) w.m_Camera.Dist.AddPara(i, d(84 + i));
  w.m_Camera.Resolution.X = d(88);
  w.m_Camera.Resolution.Y = d(89);
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
  // Stores set A in every item through a window's writes.
  void StoreSetA() {
    CCaptureWnd writer;
    Fill(writer, true);
    ASSERT_TRUE(writer.FlashWriteCmr());
    ASSERT_TRUE(writer.FlashWriteDat());
    eep::ClearCalls();
    boxes_.clear();
  }
};

TEST_F(FlashTest, NeverWrittenMemoryGivesDefaultsSilently) {
  CCaptureWnd w;
  ASSERT_NE(w.m_pSysEepRead, nullptr);
  Fill(w, false);
  EXPECT_TRUE(w.FlashReadCmr());
  EXPECT_EQ(w.m_Camera.FocalLength, 8.0);
  EXPECT_EQ(w.m_Camera.PrincipalPoint.X, 1.792);
  EXPECT_EQ(w.m_Camera.PrincipalPoint.Y, 1.344);
  EXPECT_EQ(w.m_Camera.Resolution.Y, 0.0056);
  EXPECT_EQ(w.m_Camera.Dist.GetDistModel(), DIST_NONE);
  EXPECT_EQ(w.m_Camera.Dist.GetPara(1), -85.5);  // K1..P2 are left as they are
  EXPECT_TRUE(w.FlashReadDat());
  EXPECT_EQ(w.m_nCenterX[0], 320);
  EXPECT_EQ(w.m_nCenterY[1], 240);
  EXPECT_EQ(w.m_CcdOffset.X, -94.5);  // stopped at item 90: offsets untouched
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(eep::Calls(),
            (std::vector<std::string>{
                "unlock", "read 80 fail", "lock", "unlock", "read 90 fail", "lock"}));
  EXPECT_TRUE(eep::IsLocked());
}

TEST_F(FlashTest, WrittenRecordsReadBackInItemLayout) {
  StoreSetA();
  EXPECT_EQ(eep::Item(83), (std::vector<uint8_t>{2, 0, 0, 0}));
  EXPECT_EQ(eep::Item(90), (std::vector<uint8_t>{0x86, 0x01}));  // CCD1x = camera 1 = 390 = 0x186
  EXPECT_EQ(eep::Item(92)->size(), 2u);
  EXPECT_EQ(eep::Item(99)->size(), 8u);
  CCaptureWnd reader;
  Fill(reader, false);
  EXPECT_TRUE(reader.FlashReadCmr());
  EXPECT_TRUE(reader.FlashReadDat());
  CCaptureWnd expected;
  Fill(expected, true);
  for (int index = 80; index <= 99; ++index)
    EXPECT_EQ(Get(reader, index), Get(expected, index)) << index;
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
  EXPECT_EQ(w.m_nCenterX[1], 320);
  EXPECT_EQ(w.m_nCenterY[1], 240);
  EXPECT_EQ(w.m_nCenterX[0], 0);
  EXPECT_EQ(w.m_nCenterY[0], 0);  // trunc(-0.5 + 0.5)
  // Defaults are rescaled too.
  ASSERT_TRUE(eep::EraseAll());
  CCaptureWnd fresh;
  fresh.SetSXGAMode(1);
  EXPECT_TRUE(fresh.FlashReadDat());
  EXPECT_EQ(fresh.m_nCenterX[0], 144);
  EXPECT_EQ(fresh.m_nCenterY[0], 120);
}

TEST_F(FlashTest, UserOffsetsMoveTheCentresAndWriteItems90To93) {
  CCaptureWnd w;
  w.m_nCenterX[1] = 320;
  w.m_nCenterY[1] = 240;
  w.m_nCenterX[0] = 310;
  w.m_nCenterY[0] = 250;
  w.m_nUserCCDOffsetX[1] = 3;
  w.m_nUserCCDOffsetY[1] = -2;
  w.m_nUserCCDOffsetX[0] = -1;
  w.m_nUserCCDOffsetY[0] = 4;
  EXPECT_TRUE(w.UserCCDOffsetSet());
  EXPECT_EQ(w.m_nCenterX[1], 323);
  EXPECT_EQ(w.m_nCenterY[1], 238);
  EXPECT_EQ(w.m_nCenterX[0], 309);
  EXPECT_EQ(w.m_nCenterY[0], 254);
  EXPECT_EQ(
      eep::Calls(),
      (std::vector<std::string>{"unlock", "write 90", "write 91", "write 92", "write 93", "lock"}));
  EXPECT_EQ(eep::Item(92), (std::vector<uint8_t>{0x35, 0x01}));  // 309
}

}  // namespace
