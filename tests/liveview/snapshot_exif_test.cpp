// A snapshot's metadata never costs the picture: with the stamp forced to
// fail the file is saved as before, with the same result; with it, the same
// file gains one Exif segment and djpeg decodes both to the same pixels.
// (tests/scripts/drivers/check_exif.py reads the values back with exiftool
// and PIL from a camview session.)
#include <cstdlib>
#include <string>

#include "platform/faults.h"
#include "platform/registry.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

class SnapshotExifTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    devices::SetFrameSource(std::make_shared<FlatSource>(Rgb565(20, 40, 10)));
    CreateView();
    ASSERT_TRUE(platform::registry::SetString(
        L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\Storage Card"));
  }
  void TearDown() override {
    platform::fault::DisarmAll();
    LiveViewTest::TearDown();
  }
  // Saves the frozen picture; the file's bytes.
  std::string Save() {
    boxes_.clear();
    EXPECT_EQ(view_->WriteJpeg(), 1);
    EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
    return ReadHostFile(Host(L"\\JPEG\\20240503\\140709W100.jpg"));
  }
  std::string Decode(const std::string& bytes, const char* name) {
    const std::string jpeg = root_ + "/" + name + ".jpg", ppm = root_ + "/" + name + ".ppm";
    WriteHostFile(jpeg, bytes);
    EXPECT_EQ(std::system(("djpeg -outfile '" + ppm + "' '" + jpeg + "'").c_str()), 0);
    return ReadHostFile(ppm);
  }
};

TEST_F(SnapshotExifTest, AFailedStampKeepsThePictureAndAStampAddsOnlyItsSegment) {
  view_->SnapShot();
  platform::fault::Arm("exif.build");
  const std::string bare = Save();
  EXPECT_EQ(platform::fault::Calls("exif.build"), 1);
  EXPECT_EQ(bare.find(std::string("Exif\0\0", 6)), std::string::npos);
  const std::string stamped = Save();

  // SOI, the JFIF APP0, then our APP1 "Exif\0\0" segment, then the rest of
  // the bare file byte for byte.
  const size_t app0_end = 4 + (size_t(uint8_t(bare[4])) << 8 | uint8_t(bare[5]));
  ASSERT_GT(stamped.size(), app0_end + 10);
  EXPECT_EQ(stamped.substr(app0_end, 2), "\xff\xe1");
  EXPECT_EQ(stamped.substr(app0_end + 4, 6), std::string("Exif\0\0", 6));
  const size_t app1 = size_t(uint8_t(stamped[app0_end + 2])) << 8 | uint8_t(stamped[app0_end + 3]);
  EXPECT_EQ(stamped.substr(0, app0_end) + stamped.substr(app0_end + 2 + app1), bare);
  EXPECT_EQ(Decode(stamped, "stamped"), Decode(bare, "bare"));
}

}  // namespace
}  // namespace liveview_test
