// "EEP.DLL" over a raw binary image: every item round-trips at the offsets
// the README documents, a device path is written in place, and a short,
// erased or missing image reads as missing items.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "devices/devices.h"
#include "devices/eeprom_module.h"
#include "platform/modules.h"
#include "tests/support/test_support.h"

namespace {

namespace eep = devices::eeprom;

// Item, length and offset in the image, worked out by hand from the layout.
constexpr int kSlots[][3] = {{80, 8, 12},  {81, 8, 20},  {82, 8, 28},  {83, 4, 36},  {84, 8, 40},
                             {85, 8, 48},  {86, 8, 56},  {87, 8, 64},  {88, 8, 72},  {89, 8, 80},
                             {90, 2, 88},  {91, 2, 90},  {92, 2, 92},  {93, 2, 94},  {94, 8, 96},
                             {95, 8, 104}, {96, 8, 112}, {97, 8, 120}, {98, 8, 128}, {99, 8, 136}};

std::string Pattern(int index, int length) {  // differs from every other item's
  std::string bytes;
  for (int i = 0; i < length; ++i) bytes += char(index + 7 * i);
  return bytes;
}

class EepromImageTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    ASSERT_EQ(::setenv(eep::kImageVariable, image_.c_str(), 1), 0);
    devices::RegisterAll();  // takes the image from the environment
    ::unsetenv(eep::kImageVariable);
    eep::Reset();
    module_ = LoadLibraryW(L"EEP.DLL");
    read_ = reinterpret_cast<eep::ReadFn>(GetProcAddress(module_, "SysEepRead"));
    write_ = reinterpret_cast<eep::WriteFn>(GetProcAddress(module_, "SysEepWrite"));
    unlock_ = reinterpret_cast<eep::UnlockFn>(GetProcAddress(module_, "UnLockDisk"));
    ASSERT_TRUE(read_ && write_ && unlock_ && unlock_(0));
  }
  void TearDown() override {
    unlock_(1);
    FreeLibrary(module_);
    eep::UseImage("");
    DeviceTest::TearDown();
  }
  void WriteAll() {
    for (auto [index, length, offset] : kSlots)
      ASSERT_TRUE(write_(Pattern(index, length).data(), index, length));
  }
  bool Reads(int index, int length, std::string* got = nullptr) {
    std::string bytes(size_t(length), '\0');
    const bool ok = read_(bytes.data(), index, length);
    if (got) *got = bytes;
    return ok;
  }
  const std::string image_ = "/dev/shm/surveycam-nvmem-" + std::to_string(::getpid());
  HMODULE module_ = nullptr;
  eep::ReadFn read_ = nullptr;
  eep::WriteFn write_ = nullptr;
  eep::UnlockFn unlock_ = nullptr;
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
  EXPECT_FALSE(write_(&eight, 90, 8));
  EXPECT_FALSE(Reads(90, 8));
  std::filesystem::remove(image_);
}

TEST_F(EepromImageTest, ShortErasedAndMissingImagesReadAsMissingItems) {
  eep::UseImage(root_ + "/calibration.bin");  // a file: replaced by a safe save
  WriteAll();
  const std::string full = ReadHostFile(root_ + "/calibration.bin");
  ASSERT_EQ(full.size(), 144u);
  const std::pair<std::string, int> cases[] = {// image, the last item that still reads
                                               {full.substr(0, 88), 89},
                                               {full.substr(0, 89), 89},
                                               {full.substr(0, 12), 79},
                                               {std::string(144, '\xff'), 79},
                                               {"", 79}};  // no file
  for (const auto& [image, last] : cases) {
    std::filesystem::remove(root_ + "/calibration.bin");
    if (!image.empty()) WriteHostFile(root_ + "/calibration.bin", image);
    for (auto [index, length, offset] : kSlots)
      EXPECT_EQ(Reads(index, length), index <= last) << image.size() << " bytes, item " << index;
  }
}

}  // namespace
