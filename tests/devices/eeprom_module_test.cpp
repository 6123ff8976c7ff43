// "EEP.DLL" through the module loader, as the library reaches it, over its text
// store and over a raw binary image (its "eep.*" faults are drilled in tests/faults/).
#include "devices/eeprom_module.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "devices/devices.h"
#include "platform/modules.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

class EepromTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    if (!image_.empty()) {
      ASSERT_EQ(::setenv(eep::kImageVariable, image_.c_str(), 1), 0);
    }
    devices::RegisterAll();  // takes the image from the environment
    ::unsetenv(eep::kImageVariable);
    eep::Reset();
    module_ = LoadLibraryW(L"EEP.DLL");
    ASSERT_NE(module_, nullptr);
    read_ = reinterpret_cast<eep::ReadFn>(GetProcAddress(module_, "SysEepRead"));
    write_ = reinterpret_cast<eep::WriteFn>(GetProcAddress(module_, "SysEepWrite"));
    unlock_ = reinterpret_cast<eep::UnlockFn>(GetProcAddress(module_, "UnLockDisk"));
    ASSERT_TRUE(read_ && write_ && unlock_);
  }
  void TearDown() override {
    unlock_(1);
    FreeLibrary(module_);
    eep::UseImage("");
    if (!image_.empty()) std::filesystem::remove(image_);
    DeviceTest::TearDown();
  }
  std::string image_;
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
}

// Item, length and offset in the raw image, worked out by hand from the layout.
constexpr int kSlots[][3] = {{80, 8, 12},  {81, 8, 20},  {82, 8, 28},  {83, 4, 36},  {84, 8, 40},
                             {85, 8, 48},  {86, 8, 56},  {87, 8, 64},  {88, 8, 72},  {89, 8, 80},
                             {90, 2, 88},  {91, 2, 90},  {92, 2, 92},  {93, 2, 94},  {94, 8, 96},
                             {95, 8, 104}, {96, 8, 112}, {97, 8, 120}, {98, 8, 128}, {99, 8, 136}};

std::string Pattern(int index, int length) {  // differs from every other item's
  std::string bytes;
  for (int i = 0; i < length; ++i) bytes += char(index + 7 * i);
  return bytes;
}

class EepromImageTest : public EepromTest {
 protected:
  EepromImageTest() { image_ = "/dev/shm/surveycam-nvmem-" + std::to_string(::getpid()); }
  void WriteAll() {
    ASSERT_TRUE(unlock_(0));
    for (auto [index, length, offset] : kSlots)
      ASSERT_TRUE(write_(Pattern(index, length).data(), index, length));
  }
  bool Reads(int index, int length, std::string* got = nullptr) {
    std::string bytes(size_t(length), '\0');
    const bool ok = read_(bytes.data(), index, length);
    if (got) *got = bytes;
    return ok;
  }
};

TEST_F(EepromImageTest, EveryItemRoundTripsInPlaceAtItsDocumentedOffset) {
  WriteHostFile(image_, std::string(256, '\xff'));  // a larger, erased memory
  WriteAll();
  const std::string bytes = ReadHostFile(image_);
  ASSERT_EQ(bytes.size(), 256u);
  EXPECT_EQ(bytes.substr(0, 12), std::string("SCEE\x01\x00\x84\x00\xff\xff\x0f\x00", 12));
  EXPECT_EQ(bytes.substr(144), std::string(112, '\xff'));  // the rest of the memory kept
  for (auto [index, length, offset] : kSlots) {
    std::string got;
    EXPECT_EQ(bytes.substr(size_t(offset), size_t(length)), Pattern(index, length)) << index;
    EXPECT_TRUE(Reads(index, length, &got) && got == Pattern(index, length)) << index;
  }
  double eight = 0;  // the image keeps each item at its own length only
  EXPECT_FALSE(write_(&eight, 90, 8) || Reads(90, 8));
}

TEST_F(EepromImageTest, ShortErasedAndMissingImagesReadAsMissingItems) {
  const std::string file = root_ + "/calibration.bin";
  eep::UseImage(file);  // a file: replaced by a safe save
  WriteAll();
  const std::string full = ReadHostFile(file);
  ASSERT_EQ(full.size(), 144u);
  const std::pair<std::string, int> cases[] = {// image, the last item that still reads
                                               {full.substr(0, 88), 89},
                                               {full.substr(0, 89), 89},
                                               {full.substr(0, 12), 79},
                                               {std::string(144, '\xff'), 79},
                                               {"", 79}};  // no file
  for (const auto& [image, last] : cases) {
    std::filesystem::remove(file);
    if (!image.empty()) WriteHostFile(file, image);
    for (auto [index, length, offset] : kSlots)
      EXPECT_EQ(Reads(index, length), index <= last) << image.size() << " bytes, item " << index;
  }
}

}  // namespace
