// Freezing the picture and saving it: the dated path under the registry's
// card folder, the free-space thresholds, and a JPEG file that an
// independent decoder (djpeg) reads back as the view's picture.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/clock.h"
#include "platform/fs.h"
#include "platform/registry.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

const std::wstring kCardFull = L"The capacity of the memory doesn't suffice. E-523";
constexpr const wchar_t* kSaved = L"\\Storage Card\\JPEG\\20240503\\140709W100.jpg";

class SnapshotTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    devices::SetFrameSource(std::make_shared<FlatSource>(Rgb565(0, 63, 0)));  // green
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
};

TEST_F(SnapshotTest, SavesUnderTheCardFolderByDateTimeCameraAndZoom) {
  UseCard();
  view_->ZoomIn();
  ASSERT_EQ(view_->WriteJpeg(), 1);
  const std::string file = Host(L"\\Storage Card\\JPEG\\20240503\\140709W200.jpg");
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  EXPECT_EQ(boxes_.calls().back().type & MB_ICONINFORMATION, MB_ICONINFORMATION);
  EXPECT_FALSE(platform::WaitCursorShown());
  EXPECT_GE(platform::WaitCursorCount(), 1);
  // An independent decoder reads it back as the green picture of the view
  // (green: the one channel whose place does not depend on the byte order).
  const std::string ppm = file + ".ppm";
  const std::string command = "djpeg -pnm -outfile '" + ppm + "' '" + file + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::ifstream in(ppm, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, maxval = 0;
  in >> magic >> width >> height >> maxval;
  in.get();
  EXPECT_EQ(magic + " " + std::to_string(width) + " " + std::to_string(height), "P6 320 240");
  unsigned char rgb[3] = {};
  in.seekg(in.tellg() + std::streamoff((120 * 320 + 160) * 3));
  in.read(reinterpret_cast<char*>(rgb), 3);
  EXPECT_LE(rgb[0], 10);
  EXPECT_GE(rgb[1], 245);
  EXPECT_LE(rgb[2], 10);
}

// A card folder that is not there: the root; a zoom of 0.996 rounds to 100.
TEST_F(SnapshotTest, MissingCardFolderSavesAtTheRoot) {
  UseCard(L"\\Storage Card", false);
  view_->SetCurCamera(0);
  view_->m_dZoom[0] = 0.996;
  ASSERT_EQ(view_->WriteJpeg(), 1);
  EXPECT_TRUE(Exists(L"\\JPEG\\20240503\\140709T100.jpg"));
  EXPECT_FALSE(Exists(L"\\Storage Card"));
}

// The registry is asked with 256 bytes, as on the device: a card folder of
// 127 characters is used, one of 128 is refused and nothing is saved.
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

// The file needs 100 KiB; each new folder 1 KiB more: 103424 bytes are too
// little for a new JPEG folder (104448) but enough for a new day folder.
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
  devices::capture::ClearLog();
  view_->SnapShot();
  view_->SnapShot();
  EXPECT_EQ(view_->GetSnapShot(), 1);
  EXPECT_EQ(Requests(IOCTL_VCAP_STOP_CAPTURE), 1);
  EXPECT_FALSE(devices::capture::IsRunning());
  devices::capture::ClearLog();
  view_->EndSnapShot();
  view_->EndSnapShot();
  EXPECT_EQ(view_->GetSnapShot(), 0);
  EXPECT_EQ(devices::capture::Log().size(), 1u);
  EXPECT_EQ(Requests(IOCTL_VCAP_START_CAPTURE), 1);
  EXPECT_TRUE(devices::capture::IsRunning());
}

}  // namespace
}  // namespace liveview_test
