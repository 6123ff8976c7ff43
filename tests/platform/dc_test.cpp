// Drawing on a framebuffer, checked pixel by pixel.
#include "platform/dc.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>

namespace {

constexpr uint32_t kBack = 0x101010;
using Pixels = std::set<std::pair<int, int>>;

class DcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fb_.Resize(64, 48, kBack);
    // Client area at (10, 5), 40 × 30.
    ASSERT_TRUE(dc_.AttachFramebuffer(&fb_, RECT{10, 5, 50, 35}));
  }
  // Framebuffer pixels that differ from the background.
  Pixels Changed() const {
    Pixels out;
    for (int y = 0; y < fb_.height; ++y)
      for (int x = 0; x < fb_.width; ++x)
        if (fb_.At(x, y) != kBack) out.insert({x, y});
    return out;
  }
  platform::Framebuffer fb_;
  CDC dc_;
};

TEST_F(DcTest, LinesFollowBresenhamAndLeaveTheirEndPixelOut) {
  CPen pen(PS_SOLID, 0, RGB(255, 0, 0));
  dc_.SelectObject(&pen);
  const struct {
    bool move;
    POINT from, to;
    Pixels pixels;
  } lines[] = {{true, {2, 3}, {6, 3}, {{12, 8}, {13, 8}, {14, 8}, {15, 8}}},
               {false, {}, {6, 5}, {{16, 8}, {16, 9}}},
               {true, {0, 0}, {3, 3}, {{10, 5}, {11, 6}, {12, 7}}},
               {true, {0, 0}, {6, 2}, {{10, 5}, {11, 5}, {12, 6}, {13, 6}, {14, 6}, {15, 7}}}};
  for (const auto& l : lines) {
    fb_.Resize(64, 48, kBack);
    if (l.move) dc_.MoveTo(l.from.x, l.from.y);
    dc_.LineTo(l.to.x, l.to.y);
    EXPECT_EQ(Changed(), l.pixels) << l.to.x << "," << l.to.y;
  }
  EXPECT_EQ(fb_.At(10, 5), 0xFF0000u);
}

// The live view draws marks across the edges: nothing lands outside.
TEST_F(DcTest, DrawingIsClippedToTheClientAndTheScreen) {
  dc_.FillSolidRect(-5, -5, 100, 100, RGB(0, 0, 255));
  const Pixels changed = Changed();
  EXPECT_EQ(changed.size(), 40u * 30u);
  EXPECT_EQ(*changed.begin(), std::make_pair(10, 5));
  EXPECT_EQ(*changed.rbegin(), std::make_pair(49, 34));
  CDC off;  // a client partly off the screen
  ASSERT_TRUE(off.AttachFramebuffer(&fb_, RECT{50, 40, 80, 60}));
  off.FillSolidRect(0, 0, 30, 20, RGB(1, 2, 3));
  EXPECT_EQ(fb_.At(63, 47), 0x010203u);
}

TEST(DcPng, PilReadsTheScreenshot) {
  platform::Framebuffer fb;
  fb.Resize(7, 3, 0x112233);
  fb.At(6, 2) = 0xABCDEF;
  const auto path = (std::filesystem::temp_directory_path() / "surveycam_dc_test.png").string();
  ASSERT_TRUE(platform::WritePng(fb, path));
  const std::string command =
      "/usr/bin/python3 -c 'import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1])\n"
      "ok = im.size == (7, 3) and im.getpixel((6, 2)) == (0xAB, 0xCD, 0xEF) and im.getpixel((0, "
      "0)) == (0x11, 0x22, 0x33)\n"
      "sys.exit(0 if ok else 1)' '" +
      path + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);
  std::filesystem::remove(path);
}

}  // namespace
