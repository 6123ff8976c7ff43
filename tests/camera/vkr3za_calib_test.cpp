// The orientation file: exact bytes, round trips, broken files and the message each shows.
#include "camera/vkr3za_calib.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

class OrientFileTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    for (int i = 0; i < 24; ++i) {
      texts_.push_back(L"message " + std::to_wstring(i));
      table_.Src.Add(texts_.back().c_str());
    }
  }
  std::wstring Shown(int entry, const wchar_t* path = L"\\orient.txt") {
    return std::wstring(path) + L"\n" + texts_[size_t(entry)];
  }
  std::vector<std::wstring> texts_;
  StMessage table_;
};

const char kHead[] = "VKR3ZA_ORIENT_FILEVER1.0\r\n";
const char kBody[] =
    "320.000000\t// CCD1 CENTER X\r\n"
    "240.000000\t// CCD1 CENTER Y\r\n"
    "320.000000\t// CCD2 CENTER X\r\n"
    "240.000000\t// CCD2 CENTER Y\r\n"
    "0.000000\t// CCD2 OFFSET X\r\n"
    "0.000000\t// CCD2 OFFSET Y\r\n"
    "0.000000\t// CCD2 OFFSET Z\r\n"
    "0.000000\t// CCD2 OFFSET OMEGA\r\n"
    "0.000000\t// CCD2 OFFSET PHI\r\n"
    "0.000000\t// CCD2 OFFSET KAPPA\r\n";

TEST_F(OrientFileTest, DefaultsExactlyThenValuesBack) {
  VKR3ZA_CALIB calib;
  calib.SetCaptureMsg(&table_, nullptr);
  ASSERT_EQ(calib.Write(L"\\orient.txt"), 1);
  EXPECT_EQ(ReadHostFile(Host(L"\\orient.txt")), std::string(kHead) + kBody);
  EXPECT_EQ(boxes_.size(), 0u);

  calib.Ccd1CenterX = 318;
  calib.Ccd1CenterY = -241;
  calib.Ccd2CenterX = 333;
  calib.Ccd2CenterY = 229;
  calib.Ccd2Offset = CXYZ(12.5, -3.25, 41.0625);
  calib.Ccd2Angle = CWPK(0.0123, -0.00456, 1.5);
  ASSERT_EQ(calib.Write(L"\\orient.txt"), 1);
  const std::string text = ReadHostFile(Host(L"\\orient.txt"));
  EXPECT_NE(text.find("\r\n85.943669\t// CCD2 OFFSET KAPPA\r\n"), std::string::npos);  // degrees
  VKR3ZA_CALIB read;
  ASSERT_EQ(read.Read(L"\\orient.txt"), 1);
  VKR3ZA_CALIB back;  // read and copied: the same bytes again
  back = VKR3ZA_CALIB(read);
  ASSERT_EQ(back.Write(L"\\again.txt"), 1);
  EXPECT_EQ(ReadHostFile(Host(L"\\again.txt")), text);
  EXPECT_EQ(calib.Read(L"\\missing.txt"), 0);
  EXPECT_EQ(boxes_.LastText(), Shown(8, L"\\missing.txt"));
}

// A failed read keeps what it had read; centres truncate toward zero; text that is no number
// repeats the value of the line before (on the first value line: the field's own).
TEST_F(OrientFileTest, ReadsHandWrittenFiles) {
  const std::string head = kHead, body = kBody;
  const std::string odd = "321.9\r\n-0.5\r\n-7.99\r\n1e2\r\n1\r\n2\r\n3\r\n90\r\n-45\r\n180\r\n";
  const std::string repeat = "311.5\r\nabc\r\n1\r\n2\r\n7.25\r\nxyz\t// c\r\n9\r\n0\r\n0\r\n0\r\n";
  const struct {
    std::string text;
    int result, message, c1x, c1y, c2x, c2y;
    double offset_x, offset_y;
  } cases[] = {
      {"  VKR3ZA_ORIENT_FILEVER1.0 \t\r\n" + body, 1, -1, 320, 240, 320, 240, 0, 0},
      {"VKR3ZA_ORIENT_FILEVER1.0\n" + body, 1, -1, 320, 240, 320, 240, 0, 0},
      {"vkr3za_orient_filever1.0\r\n" + body, 0, 9, 320, 240, 320, 240, 0, 0},
      {"\n" + body, 0, 9, 320, 240, 320, 240, 0, 0},
      {head + odd, 1, -1, 321, 0, -7, 100, 1, 2},
      {head + "301\r\n202\r\n303\r\n204\r\n5.5\r\n", 0, 6, 301, 202, 303, 204, 5.5, 0},
      {head + "301\r\n\n303\r\n", 0, 6, 301, 240, 320, 240, 0, 0},
      {head + "302\r\n  \t\r\n", 0, 6, 302, 240, 320, 240, 0, 0},
      {head + repeat, 1, -1, 311, 311, 1, 2, 7.25, 7.25},
      {head + "abc\r\n1\r\n2\r\n3\r\n4\r\n5\r\n6\r\n0\r\n0\r\n0\r\n", 1, -1, 320, 1, 2, 3, 4, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    WriteHostFile(Host(L"\\orient.txt"), c.text);
    boxes_.clear();
    VKR3ZA_CALIB calib;
    calib.SetCaptureMsg(&table_, nullptr);
    EXPECT_EQ(calib.Read(L"\\orient.txt"), c.result);
    EXPECT_EQ(boxes_.size(), c.message < 0 ? 0u : 1u);
    if (c.message >= 0) {
      EXPECT_EQ(boxes_.LastText() + boxes_.LastCaption(), Shown(c.message) + L"ERROR");
    }
    EXPECT_EQ(calib.Ccd1CenterX, c.c1x);
    EXPECT_EQ(calib.Ccd1CenterY, c.c1y);
    EXPECT_EQ(calib.Ccd2CenterX, c.c2x);
    EXPECT_EQ(calib.Ccd2CenterY, c.c2y);
    EXPECT_EQ(calib.Ccd2Offset.X, c.offset_x);
    EXPECT_EQ(calib.Ccd2Offset.Y, c.offset_y);
  }
}

}  // namespace
