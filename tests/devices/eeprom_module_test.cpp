// "EEP.DLL" through the module loader, as the library reaches it (its "eep.*"
// faults are drilled in tests/faults/).
#include "devices/eeprom_module.h"

#include <gtest/gtest.h>

#include "devices/devices.h"
#include "platform/modules.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

class EepromTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    devices::RegisterAll();
    eep::Reset();
    module_ = LoadLibraryW(L"EEP.DLL");
    ASSERT_NE(module_, nullptr);
    read_ = reinterpret_cast<eep::ReadFn>(GetProcAddress(module_, "SysEepRead"));
    write_ = reinterpret_cast<eep::WriteFn>(GetProcAddress(module_, "SysEepWrite"));
    unlock_ = reinterpret_cast<eep::UnlockFn>(GetProcAddress(module_, "UnLockDisk"));
    ASSERT_TRUE(read_ && write_ && unlock_);
  }
  void TearDown() override {
    FreeLibrary(module_);
    DeviceTest::TearDown();
  }
  HMODULE module_ = nullptr;
  eep::ReadFn read_ = nullptr;
  eep::WriteFn write_ = nullptr;
  eep::UnlockFn unlock_ = nullptr;
};

TEST_F(EepromTest, WrittenItemsReadBackAndLiveInTheStoreFile) {
  ASSERT_TRUE(unlock_(0));
  const double focal = 8.125;
  const int16_t centre = -3;
  EXPECT_TRUE(write_(&focal, 80, 8));
  EXPECT_TRUE(write_(&centre, 90, 2));
  double got = 0;
  int16_t got_centre = 0;
  EXPECT_TRUE(read_(&got, 80, 8) && read_(&got_centre, 90, 2));
  EXPECT_EQ(got + got_centre, focal - 3);
  ASSERT_TRUE(unlock_(1));
  EXPECT_EQ(GetDeviceFile(L"\\eeprom.txt"), "80 0000000000402040\n90 fdff\n");
  EXPECT_EQ(
      eep::Calls(),
      (std::vector<std::string>{"unlock", "write 80", "write 90", "read 80", "read 90", "lock"}));
}

TEST_F(EepromTest, RefusesLockedUnwrittenMisfitAndOutOfRangeAccess) {
  double value = 1.5;
  EXPECT_FALSE(write_(&value, 81, 8));  // locked at power-on
  EXPECT_FALSE(read_(&value, 81, 8));
  ASSERT_TRUE(unlock_(0));
  EXPECT_FALSE(read_(&value, 81, 8));  // never written
  EXPECT_TRUE(write_(&value, 81, 8));
  EXPECT_FALSE(read_(&value, 81, 4));  // an item has one length
  EXPECT_FALSE(write_(&value, 79, 8) || write_(&value, 100, 8) || write_(nullptr, 82, 8) ||
               write_(&value, 82, 0) || unlock_(2));
  ASSERT_TRUE(unlock_(1));
  EXPECT_TRUE(eep::IsLocked());
}

TEST_F(EepromTest, BrokenStoreLinesAreIgnored) {
  PutDeviceFile(L"\\eeprom.txt", "80 00112233\n81 zz\n82 123\nnonsense\n120 00\n83 01000000\n");
  ASSERT_TRUE(unlock_(0));
  int32_t model = 0;
  EXPECT_TRUE(read_(&model, 83, 4));
  EXPECT_EQ(model, 1);
  uint8_t bytes[4];
  EXPECT_TRUE(read_(bytes, 80, 4));
  EXPECT_FALSE(read_(bytes, 81, 1) || read_(bytes, 82, 1));
  unlock_(1);
}

// The call log keeps only the latest calls: it must not grow without bound.
TEST_F(EepromTest, CallLogKeepsTheLatestCallsOnly) {
  for (int i = 0; i < 5000; ++i) unlock_(i % 2);
  const auto calls = eep::Calls();
  EXPECT_LE(calls.size(), 4096u);
  EXPECT_GE(calls.size(), 2048u);
  EXPECT_EQ(calls.back(), "lock");  // the 5000th call: i = 4999 locks
}

}  // namespace
