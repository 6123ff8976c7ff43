// The storage card against a real folder tree in the test's device root: the
// card root from the registry, mounted and missing cards, free space, sorted
// listings with sizes and times, transfers of files and folder trees, and the
// checks made before a transfer starts (a full or missing card, bad paths).
// Platform calls failing part-way are drilled in tests/faults/.
#include "storage/rt_card.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/fs.h"
#include "platform/message_table.h"
#include "platform/registry.h"
#include "tests/support/test_support.h"

namespace {

namespace fs = std::filesystem;  // host side of the device root

constexpr const wchar_t* kCard = L"\\Storage Card";

// A deterministic byte pattern of `size` bytes.
std::string Pattern(size_t size, int seed) {
  std::string bytes(size, '\0');
  uint32_t state = uint32_t(seed) * 2654435761u + 1;
  for (char& c : bytes) {
    state = state * 1664525u + 1013904223u;
    c = char(state >> 24);
  }
  return bytes;
}

class RTCardTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    ASSERT_TRUE(
        platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", kCard));
  }
  void MountCard() { fs::create_directories(Host(kCard)); }
  // Names in a host folder, to prove no temporary or partial file stayed.
  std::vector<std::string> Names(const wchar_t* folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(Host(folder)))
      names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  void ExpectBox(const wchar_t* text) {
    ASSERT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_.LastText(), text);
    EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  }

  CRTCard card_;
};

TEST_F(RTCardTest, CardRootComesFromRegistryAndMountedMeansFolderExists) {
  EXPECT_EQ(card_.GetCardRoot(), CString(kCard));
  EXPECT_EQ(card_.IsMounted(), 0);
  MountCard();
  EXPECT_EQ(card_.IsMounted(), 1);
  EXPECT_EQ(card_.IsCardPath(L"\\Storage Card\\JPEG\\a.jpg"), 1);
  EXPECT_EQ(card_.IsCardPath(L"\\Storage Card"), 1);
  EXPECT_EQ(card_.IsCardPath(L"\\Storage Cards\\a.jpg"), 0);  // whole components only
  EXPECT_EQ(card_.IsCardPath(L"\\IMG_MAIN\\a.jpg"), 0);

  // A trailing separator in the registry value is ignored.
  ASSERT_TRUE(
      platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\SD\\"));
  EXPECT_EQ(card_.ReadCardRoot(), 1);
  EXPECT_EQ(card_.GetCardRoot(), CString(L"\\SD"));
  EXPECT_EQ(card_.IsMounted(), 0);
  // Without a card root no path is a card path, not even the root folder.
  card_.SetCardRoot(L"");
  EXPECT_EQ(card_.IsCardPath(L"\\"), 0);
  EXPECT_EQ(card_.IsMounted(), 0);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, FreeSpaceFollowsTheVolumeAndNeedsAMountedCard) {
  ULONGLONG free_bytes = 7, total = 7;
  EXPECT_EQ(card_.GetFreeSpace(nullptr, free_bytes, total), 0);
  ExpectBox(L"The card is not mounted. E-519");
  EXPECT_EQ(free_bytes, 7u);  // untouched on failure
  EXPECT_EQ(total, 7u);

  MountCard();
  platform::fs::SetFreeSpaceOverride(123456789);
  ASSERT_EQ(card_.GetFreeSpace(nullptr, free_bytes, total), 1);
  EXPECT_EQ(free_bytes, 123456789u);
  EXPECT_GT(total, 0u);
}

TEST_F(RTCardTest, ListingIsSortedWithSizesTimesAndFolders) {
  MountCard();
  PutDeviceFile(L"\\Storage Card\\b.jpg", Pattern(1500, 1));
  PutDeviceFile(L"\\Storage Card\\a.jpg", Pattern(70000, 2));
  PutDeviceFile(L"\\Storage Card\\c.txt", "x");
  fs::create_directories(Host(L"\\Storage Card\\d.jpg"));
  // 2024-05-03 14:07:09 UTC = 1714745229 s after 1970-01-01.
  fs::last_write_time(Host(L"\\Storage Card\\a.jpg"),
                      fs::file_time_type::clock::from_sys(
                          std::chrono::sys_seconds(std::chrono::seconds(1714745229))));

  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&> list;
  ASSERT_EQ(card_.GetFileList(L"\\Storage Card", L"*.jpg", list), 1);
  ASSERT_EQ(list.GetSize(), 3);
  EXPECT_EQ(list[0].Name, CString(L"a.jpg"));
  EXPECT_EQ(list[0].Size, 70000u);
  EXPECT_EQ(list[0].IsFolder, 0);
  const SYSTEMTIME& t = list[0].Time;  // a Friday
  EXPECT_EQ(
      (std::vector<int>{t.wYear, t.wMonth, t.wDay, t.wDayOfWeek, t.wHour, t.wMinute, t.wSecond}),
      (std::vector<int>{2024, 5, 3, 5, 14, 7, 9}));
  EXPECT_EQ(list[1].Name, CString(L"b.jpg"));
  EXPECT_EQ(list[1].Size, 1500u);
  EXPECT_EQ(list[2].Name, CString(L"d.jpg"));
  EXPECT_EQ(list[2].IsFolder, 1);

  ASSERT_EQ(card_.GetFileList(L"\\Storage Card", L"*.png", list), 1);  // nothing matches
  EXPECT_EQ(list.GetSize(), 0);
  ASSERT_EQ(card_.GetFileList(L"\\Storage Card\\", nullptr, list), 1);
  EXPECT_EQ(list.GetSize(), 4);
  EXPECT_EQ(card_.GetFileList(L"\\Storage Card\\none", L"*", list), 0);

  ULONGLONG bytes = 0;
  PutDeviceFile(L"\\Storage Card\\d.jpg\\inner.bin", Pattern(300, 3));
  ASSERT_EQ(card_.GetFolderSize(L"\\Storage Card", bytes), 1);
  EXPECT_EQ(bytes, 70000u + 1500u + 1u + 300u);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, CopyAndMoveFilesToTheCard) {
  MountCard();
  const std::string photo = Pattern(100000, 4);  // four copy chunks
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", photo);
  ASSERT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\p1.jpg"), photo);
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\p1.jpg"), photo);

  // Replacing an existing file.
  const std::string newer = Pattern(5000, 5);
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", newer);
  ASSERT_EQ(card_.MoveFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\p1.jpg"), newer);
  EXPECT_FALSE(DeviceFileExists(L"\\IMG_MAIN\\p1.jpg"));
  EXPECT_EQ(Names(L"\\Storage Card"), std::vector<std::string>{"p1.jpg"});

  // An empty file copies too.
  PutDeviceFile(L"\\IMG_MAIN\\empty", "");
  ASSERT_EQ(card_.CopyFile(L"\\IMG_MAIN\\empty", L"\\Storage Card\\empty"), 1);
  EXPECT_TRUE(DeviceFileExists(L"\\Storage Card\\empty"));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, FullCardRefusesBeforeWritingAnything) {
  MountCard();
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", Pattern(4096, 6));
  platform::fs::SetFreeSpaceOverride(4095);
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 0);
  ExpectBox(L"The capacity of the memory doesn't suffice. E-523");
  EXPECT_TRUE(Names(L"\\Storage Card").empty());
  EXPECT_EQ(card_.MoveFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 0);
  EXPECT_TRUE(DeviceFileExists(L"\\IMG_MAIN\\p1.jpg"));

  // Exactly enough is enough.
  platform::fs::SetFreeSpaceOverride(4096);
  boxes_.clear();
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(boxes_.size(), 0u);

  // A folder needs the sum of its files.
  PutDeviceFile(L"\\IMG_MAIN\\job\\a", Pattern(3000, 7));
  PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\b", Pattern(3000, 8));
  platform::fs::SetFreeSpaceOverride(5999);
  EXPECT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"), 0);
  ExpectBox(L"The capacity of the memory doesn't suffice. E-523");
  EXPECT_FALSE(DeviceFileExists(L"\\Storage Card\\job"));
}

TEST_F(RTCardTest, MissingCardIsReportedForEitherDirection) {
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", "abc");
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 0);
  ExpectBox(L"The card is not mounted. E-519");
  boxes_.clear();
  EXPECT_EQ(card_.MoveFile(L"\\Storage Card\\p1.jpg", L"\\IMG_MAIN\\p2.jpg"), 0);
  ExpectBox(L"The card is not mounted. E-519");
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\p1.jpg"), "abc");
  EXPECT_FALSE(DeviceFileExists(L"\\IMG_MAIN\\p2.jpg"));
  boxes_.clear();
  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&> list;
  EXPECT_EQ(card_.GetFileList(L"\\Storage Card\\JPEG", L"*", list), 0);
  ExpectBox(L"The card is not mounted. E-519");
}

TEST_F(RTCardTest, BadSourcesAndTargetsAreCopyErrors) {
  MountCard();
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", "abc");
  card_.m_bShowMessage = 0;
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\none.jpg", L"\\Storage Card\\p1.jpg"), 0);
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\IMG_MAIN\\p1.jpg"), 0);
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\no folder\\p1.jpg"), 0);
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card"), 0);  // a folder
  EXPECT_EQ(card_.CopyFile(nullptr, L"\\Storage Card\\x"), 0);
  EXPECT_EQ(card_.CopyFolder(L"\\IMG_MAIN", L"\\IMG_MAIN\\inside"), 0);
  EXPECT_EQ(boxes_.size(), 0u);  // silenced
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\p1.jpg"), "abc");
}

TEST_F(RTCardTest, FolderTreesCopyAndMoveWhole) {
  MountCard();
  const std::string a = Pattern(50000, 12), b = Pattern(1234, 13), c = Pattern(99, 14);
  PutDeviceFile(L"\\IMG_MAIN\\job\\a.jpg", a);
  PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\b.imc", b);
  PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\deeper\\c.DLT", c);
  fs::create_directories(Host(L"\\IMG_MAIN\\job\\empty"));

  ASSERT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\job\\a.jpg"), a);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\job\\sub\\b.imc"), b);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\job\\sub\\deeper\\c.DLT"), c);
  EXPECT_TRUE(fs::is_directory(Host(L"\\Storage Card\\job\\empty")));
  // The destination must be new.
  card_.m_bShowMessage = 0;
  EXPECT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"), 0);
  card_.m_bShowMessage = 1;

  ASSERT_EQ(card_.MoveFolder(L"\\Storage Card\\job", L"\\IMG_MAIN\\job2"), 1);
  EXPECT_FALSE(DeviceFileExists(L"\\Storage Card\\job"));
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\job2\\sub\\deeper\\c.DLT"), c);
  EXPECT_EQ(card_.IsFolder(L"\\IMG_MAIN\\job2\\sub"), 1);
  EXPECT_EQ(card_.IsFile(L"\\IMG_MAIN\\job2\\sub"), 0);
  // A sibling whose name starts with the source's is not inside it.
  ASSERT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\IMG_MAIN\\job 2"), 1);
  EXPECT_EQ(card_.IsFile(L"\\IMG_MAIN\\job 2\\a.jpg"), 1);
  ASSERT_EQ(card_.DeleteFolder(L"\\IMG_MAIN\\job2\\"), 1);
  EXPECT_FALSE(DeviceFileExists(L"\\IMG_MAIN\\job2"));
  EXPECT_EQ(card_.DeleteFolder(L"\\IMG_MAIN\\job2"), 0);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, TranslatedMessagesComeFromTheInstalledSource) {
  auto previous = platform::SetMessageSource([](int index) -> const wchar_t* {
    return index == platform::kMsgNotMounted ? L"Karte fehlt. E-519" : nullptr;
  });
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", "abc");
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 0);
  platform::SetMessageSource(previous);
  ExpectBox(L"Karte fehlt. E-519");
  EXPECT_STREQ(platform::MessageText(platform::kMsgCopyError), L"It is a copy error. E-520");
}

}  // namespace
