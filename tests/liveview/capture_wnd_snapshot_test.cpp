// Freezing and saving the picture: the dated path under the card folder, the free-space
// thresholds, and the picture shown as djpeg decodes it, an Exif stamp adding only its segment.
#include <cstdlib>
#include <filesystem>
#include <string>

#include "liveview/snapshot_stamp.h"
#include "platform/clock.h"
#include "platform/faults.h"
#include "platform/fs.h"
#include "platform/registry.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

const std::wstring kCardFull = L"The capacity of the memory doesn't suffice. E-523";
constexpr const wchar_t* kSaved = L"\\Storage Card\\JPEG\\20240503\\140709W100.jpg";

// Red growing to the right, green downwards.
class GradientSource : public devices::FrameSource {
 public:
  void Render(const devices::FrameRequest&, uint16_t* pixels) override {
    for (int i = 0; i < devices::kFrameWidth * devices::kFrameHeight; ++i)
      pixels[i] = Rgb565(i % devices::kFrameWidth / 21, i / devices::kFrameWidth * 63 / 479, 8);
  }
};

class SnapshotTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    devices::SetFrameSource(std::make_shared<GradientSource>());
    CreateView();
  }
  void UseCard(const std::wstring& folder = L"\\Storage Card", bool exists = true) {
    ASSERT_TRUE(
        platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", folder));
    ASSERT_TRUE(!exists || CreateDirectoryW(folder.c_str(), nullptr));
  }
  bool Exists(const std::wstring& device_path) const {
    return std::filesystem::exists(Host(device_path.c_str()));
  }
  // Saves once with `free` bytes free on the card: the message it shows.
  std::wstring SaveWith(long long free) {
    platform::fs::SetFreeSpaceOverride(free);
    boxes_.clear();
    view_->WriteJpeg();
    return boxes_.LastText();
  }
  // The file at `device_path` as djpeg decodes it (binary PPM).
  std::string Decode(const wchar_t* device_path) {
    const std::string ppm = root_ + "/decoded.ppm";
    const std::string command = "djpeg -outfile '" + ppm + "' '" + Host(device_path) + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return ReadHostFile(ppm);
  }
};

TEST_F(SnapshotTest, SavesUnderTheCardFolderByDateTimeCameraAndZoom) {
  UseCard(L"\\Storage Card", false);  // not there: the root
  view_->SetCurCamera(0);
  view_->m_dZoom[0] = 0.996;  // rounds to 100
  EXPECT_EQ(SaveWith(1 << 30), L"Saved OK.");
  EXPECT_TRUE(Exists(L"\\JPEG\\20240503\\140709T100.jpg"));
  EXPECT_FALSE(Exists(L"\\Storage Card"));
  ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card", nullptr));
  view_->SetCurCamera(1);
  view_->ZoomIn();
  EXPECT_EQ(SaveWith(1 << 30), L"Saved OK.");
  EXPECT_TRUE(Exists(L"\\Storage Card\\JPEG\\20240503\\140709W200.jpg"));
  EXPECT_EQ(boxes_.calls().back().type & MB_ICONINFORMATION, MB_ICONINFORMATION);
  EXPECT_FALSE(platform::WaitCursorShown());
  EXPECT_GE(platform::WaitCursorCount(), 1);
}

// The registry is asked with 256 bytes: a card folder of 127 characters is used, 128 refused.
TEST_F(SnapshotTest, CardFolderNamesUpTo127Characters) {
  for (size_t length : {127u, 128u}) {
    const std::wstring card = L"\\" + std::wstring(length - 1, L'c');
    UseCard(card);
    const bool fits = length == 127;
    EXPECT_EQ(SaveWith(1 << 30), fits ? L"Saved OK." : L"Registry Access Error") << length;
    EXPECT_EQ(Exists(card + L"\\JPEG\\20240503\\140709W100.jpg"), fits) << length;
    EXPECT_FALSE(Exists(L"\\JPEG"));
  }
}

// The file needs 100 KiB, each new folder 1 KiB more.
TEST_F(SnapshotTest, FreeSpaceThresholds) {
  UseCard();
  EXPECT_EQ(SaveWith(103424), kCardFull);
  EXPECT_FALSE(Exists(L"\\Storage Card\\JPEG"));
  ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card\\JPEG", nullptr));
  EXPECT_EQ(SaveWith(103424), L"Saved OK.");
  ASSERT_TRUE(std::filesystem::remove(Host(kSaved)));
  EXPECT_EQ(SaveWith(102399), kCardFull);
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  EXPECT_FALSE(Exists(kSaved));
  EXPECT_EQ(SaveWith(102400), L"Saved OK.");
  platform::clock::Advance(24LL * 3600 * 1000);  // a new day folder
  EXPECT_EQ(SaveWith(103423), kCardFull);
  EXPECT_FALSE(Exists(L"\\Storage Card\\JPEG\\20240504"));
}

TEST_F(SnapshotTest, FreezingAndResumingAreIdempotent) {
  for (bool freeze : {true, false}) {
    devices::capture::ClearLog();
    for (int twice = 0; twice < 2; ++twice) freeze ? view_->SnapShot() : view_->EndSnapShot();
    EXPECT_EQ(view_->GetSnapShot(), int(freeze));
    EXPECT_EQ(devices::capture::Log().size(), 1u);
    EXPECT_EQ(Requests(freeze ? IOCTL_VCAP_STOP_CAPTURE : IOCTL_VCAP_START_CAPTURE), 1);
    EXPECT_NE(devices::capture::IsRunning(), freeze);
  }
}

// A failed stamp still saves the picture; a stamp adds only the APP1 "Exif" segment after APP0.
TEST_F(SnapshotTest, AFailedStampKeepsThePictureAndAStampAddsOnlyItsSegment) {
  UseCard();
  view_->SnapShot();
  platform::fault::Arm("exif.build");
  EXPECT_EQ(SaveWith(1 << 30), L"Saved OK.");
  EXPECT_EQ(platform::fault::Calls("exif.build"), 1);
  const std::string bare = GetDeviceFile(kSaved), bare_pixels = Decode(kSaved);
  EXPECT_EQ(bare.find(std::string("Exif\0\0", 6)), std::string::npos);
  EXPECT_EQ(liveview::LastStampedTags().camera, "");
  EXPECT_EQ(SaveWith(1 << 30), L"Saved OK.");
  EXPECT_EQ(liveview::LastStampedTags().camera, "WIDE");
  const std::string stamped = GetDeviceFile(kSaved);
  const size_t app0_end = 4 + (size_t(uint8_t(bare[4])) << 8 | uint8_t(bare[5]));
  ASSERT_GT(stamped.size(), app0_end + 10);
  EXPECT_EQ(stamped.substr(app0_end, 2), "\xff\xe1");
  EXPECT_EQ(stamped.substr(app0_end + 4, 6), std::string("Exif\0\0", 6));
  const size_t app1 = size_t(uint8_t(stamped[app0_end + 2])) << 8 | uint8_t(stamped[app0_end + 3]);
  EXPECT_EQ(stamped.substr(0, app0_end) + stamped.substr(app0_end + 2 + app1), bare);
  // djpeg reads the picture the screen shows (but the black reticle), with or without the stamp.
  const std::string pixels = Decode(kSaved);
  EXPECT_EQ(pixels, bare_pixels);
  ASSERT_EQ(pixels.substr(0, 15), "P6\n320 240\n255\n");
  view_->InvalidateRect(nullptr, TRUE);
  platform::AdvanceTime(1);
  platform::Present();
  double off = 0.0;
  int compared = 0;
  for (size_t i = 0; i < 320 * 240; ++i) {
    const uint32_t shown = platform::Screen().pixels[i];
    for (int c = 0; c < 3 && shown != 0; ++c, ++compared)
      off +=
          std::abs(int(uint8_t(pixels[15 + 3 * i + size_t(c)])) - int(shown >> (16 - 8 * c) & 255));
  }
  EXPECT_GT(compared, 200000);
  EXPECT_LT(off / compared, 4.0);
}

}  // namespace
}  // namespace liveview_test
