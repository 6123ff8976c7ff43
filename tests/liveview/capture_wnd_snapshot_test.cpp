// Freezing the picture and saving it: the dated path under the registry's
// card folder, the free-space thresholds, every message, and a JPEG file that
// an independent decoder (djpeg) reads back as the view's picture.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "platform/clock.h"
#include "platform/fs.h"
#include "platform/registry.h"
#include "tests/support/live_view.h"

namespace liveview_test {
namespace {

constexpr wchar_t kMemoryKey[] = L"HKLM\\SYSTEM\\QZ7mInit\\Memory";
const std::wstring kCardFull = L"The capacity of the memory doesn't suffice. E-523";

class SnapshotTest : public LiveViewTest {
 protected:
  void SetUp() override {
    LiveViewTest::SetUp();
    devices::SetFrameSource(std::make_shared<FlatSource>(Rgb565(0, 63, 0)));  // green
    CreateView();
  }
  void UseCard(bool folder_exists) {
    ASSERT_TRUE(platform::registry::SetString(kMemoryKey, L"PCMCIAFolder", L"\\Storage Card"));
    if (folder_exists) {
      ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card", nullptr));
    }
  }
  bool Exists(const wchar_t* device_path) const {
    return std::filesystem::exists(Host(device_path));
  }
};

TEST_F(SnapshotTest, SavesUnderTheCardFolderByDateTimeCameraAndZoom) {
  UseCard(true);
  view_->ZoomIn();
  ASSERT_EQ(view_->WriteJpeg(), 1);
  const std::string file = Host(L"\\Storage Card\\JPEG\\20240503\\140709W200.jpg");
  ASSERT_TRUE(std::filesystem::exists(file));
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  EXPECT_EQ(boxes_.calls().back().type & MB_ICONINFORMATION, MB_ICONINFORMATION);
  EXPECT_FALSE(platform::WaitCursorShown());
  EXPECT_GE(platform::WaitCursorCount(), 1);

  // An independent decoder reads it back as the green picture of the view
  // (green: the one channel whose place does not depend on the byte order
  // of the frame conversion).
  const std::string ppm = file + ".ppm";
  const std::string command = "djpeg -pnm -outfile '" + ppm + "' '" + file + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::ifstream in(ppm, std::ios::binary);
  std::string magic;
  int width = 0, height = 0, maxval = 0;
  in >> magic >> width >> height >> maxval;
  in.get();
  EXPECT_EQ(magic, "P6");
  EXPECT_EQ(width, 320);
  EXPECT_EQ(height, 240);
  unsigned char rgb[3] = {};
  in.seekg(in.tellg() + std::streamoff((120 * 320 + 160) * 3));
  in.read(reinterpret_cast<char*>(rgb), 3);
  EXPECT_LE(rgb[0], 10);
  EXPECT_GE(rgb[1], 245);
  EXPECT_LE(rgb[2], 10);
}

TEST_F(SnapshotTest, MissingCardFolderSavesAtTheRoot) {
  UseCard(false);
  view_->SetCurCamera(0);
  view_->m_dZoom[0] = 0.996;  // rounds to 100
  ASSERT_EQ(view_->WriteJpeg(), 1);
  EXPECT_TRUE(Exists(L"\\JPEG\\20240503\\140709T100.jpg"));
  EXPECT_FALSE(Exists(L"\\Storage Card"));
}

TEST_F(SnapshotTest, MissingRegistryValueSavesNothing) {
  ASSERT_EQ(view_->WriteJpeg(), 0);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), L"Registry Access Error");
  EXPECT_EQ(boxes_.LastCaption(), L"Error");
  EXPECT_FALSE(Exists(L"\\JPEG"));
  EXPECT_EQ(platform::registry::OpenKeys(), 0);
}

// The registry is asked with 256 bytes, as on the device: a card folder of
// 127 characters is used, one of 128 is refused and nothing is saved.
TEST_F(SnapshotTest, CardFolderNamesUpTo127Characters) {
  for (size_t length : {127u, 128u}) {
    boxes_.clear();
    const std::wstring card = L"\\" + std::wstring(length - 1, L'c');
    ASSERT_TRUE(platform::registry::SetString(kMemoryKey, L"PCMCIAFolder", card));
    ASSERT_TRUE(CreateDirectoryW(card.c_str(), nullptr));
    const bool fits = length == 127;
    EXPECT_EQ(view_->WriteJpeg(), fits ? 1 : 0) << length;
    EXPECT_EQ(boxes_.LastText(), fits ? L"Saved OK." : L"Registry Access Error") << length;
    EXPECT_EQ(Exists((card + L"\\JPEG\\20240503\\140709W100.jpg").c_str()), fits) << length;
    EXPECT_FALSE(Exists(L"\\JPEG"));
  }
}

TEST_F(SnapshotTest, ExactlyOneHundredKibibytesIsEnough) {
  UseCard(true);
  ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card\\JPEG", nullptr));
  ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card\\JPEG\\20240503", nullptr));
  platform::fs::SetFreeSpaceOverride(102399);
  EXPECT_EQ(view_->WriteJpeg(), 0);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_.LastText(), kCardFull);
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  EXPECT_FALSE(Exists(L"\\Storage Card\\JPEG\\20240503\\140709W100.jpg"));

  platform::fs::SetFreeSpaceOverride(102400);
  EXPECT_EQ(view_->WriteJpeg(), 1);
  EXPECT_TRUE(Exists(L"\\Storage Card\\JPEG\\20240503\\140709W100.jpg"));
}

TEST_F(SnapshotTest, FoldersNeedMoreRoomThanTheFile) {
  UseCard(true);
  // 103424 bytes: too little for a new JPEG folder (104448) ...
  platform::fs::SetFreeSpaceOverride(103424);
  EXPECT_EQ(view_->WriteJpeg(), 0);
  EXPECT_EQ(boxes_.LastText(), kCardFull);
  EXPECT_FALSE(Exists(L"\\Storage Card\\JPEG"));
  // ... but enough for a new day folder once the JPEG folder is there.
  ASSERT_TRUE(CreateDirectoryW(L"\\Storage Card\\JPEG", nullptr));
  boxes_.clear();
  EXPECT_EQ(view_->WriteJpeg(), 1);
  EXPECT_EQ(boxes_.LastText(), L"Saved OK.");
  // 103423 bytes are too little for a new day folder; the JPEG folder stays.
  platform::clock::Advance(24LL * 3600 * 1000);
  platform::fs::SetFreeSpaceOverride(103423);
  EXPECT_EQ(view_->WriteJpeg(), 0);
  EXPECT_EQ(boxes_.LastText(), kCardFull);
  EXPECT_FALSE(Exists(L"\\Storage Card\\JPEG\\20240504"));
}

TEST_F(SnapshotTest, TranslatedTableChangesTheMessages) {
  UseCard(true);
  view_->m_pMessage->Src[21] = L"Gespeichert.";
  ASSERT_EQ(view_->WriteJpeg(), 1);
  EXPECT_EQ(boxes_.LastText(), L"Gespeichert.");
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
  EXPECT_EQ(devices::capture::Log()[0].code, IOCTL_VCAP_START_CAPTURE);
  EXPECT_TRUE(devices::capture::IsRunning());
}

TEST_F(SnapshotTest, IsFolderTellsFoldersFromFiles) {
  ASSERT_TRUE(CreateDirectoryW(L"\\Stück", nullptr));
  WriteHostFile(Host(L"\\plain.txt"), "x");
  EXPECT_EQ(view_->IsFolder(L"\\Stück"), TRUE);
  EXPECT_EQ(view_->IsFolder(L"\\plain.txt"), FALSE);
  EXPECT_EQ(view_->IsFolder(L"\\nothing"), FALSE);
  wchar_t buf[256] = {};
  EXPECT_EQ(view_->GetInitFolderName(buf), FALSE);
  UseCard(false);
  EXPECT_EQ(view_->GetInitFolderName(buf), TRUE);
  EXPECT_EQ(std::wstring(buf), L"\\Storage Card");
}

}  // namespace
}  // namespace liveview_test
