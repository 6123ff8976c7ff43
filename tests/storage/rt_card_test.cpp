// The storage card against a real folder tree (failures: tests/faults).
#include "storage/rt_card.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/fs.h"
#include "platform/registry.h"
#include "platform/text.h"
#include "tests/faults/fault_matrix.h"

namespace {

namespace fs = std::filesystem;
using fault_matrix::Pattern;

constexpr const wchar_t* kCard = L"\\Storage Card";
constexpr const wchar_t* kE519 = L"The card is not mounted. E-519";
constexpr const wchar_t* kE523 = L"The capacity of the memory doesn't suffice. E-523";

class RTCardTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    ASSERT_TRUE(
        platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", kCard));
  }
  void MountCard() { fs::create_directories(Host(kCard)); }
  // Refused (0), with exactly one box since the last one, "ERROR" with `text`.
  void ExpectRefused(int result, const wchar_t* text) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_.LastText(), text);
    EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
    boxes_.clear();
  }
  CRTCard card_;
};

TEST_F(RTCardTest, CardPathsAreWholeComponentsUnderTheRegistryRoot) {
  for (const auto& [path, on] : {std::pair{L"\\Storage Card\\JPEG\\a.jpg", 1},
                                 {L"\\Storage Card", 1},
                                 {L"\\Storage Cards\\a.jpg", 0},  // whole components only
                                 {L"\\IMG_MAIN\\a.jpg", 0}})
    EXPECT_EQ(card_.IsCardPath(path), on) << platform::WideToUtf8(path);
  // A trailing separator in the registry value is ignored; 200 characters fit.
  const std::wstring root = L"\\" + std::wstring(200, L'S');
  ASSERT_TRUE(platform::registry::SetString(
      L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", (root + L"\\").c_str()));
  EXPECT_EQ(card_.ReadCardRoot(), 1);
  EXPECT_EQ(card_.GetCardRoot(), CString(root.c_str()));
  card_.SetCardRoot(L"");  // no root: no path is a card path
  EXPECT_EQ(card_.IsCardPath(L"\\") + card_.IsMounted(), 0);
}

TEST_F(RTCardTest, ListingIsSortedWithSizesTimesAndFolders) {
  MountCard();
  PutDeviceFile(L"\\Storage Card\\b.jpg", Pattern(1500, 1));
  PutDeviceFile(L"\\Storage Card\\a.jpg", Pattern(70000, 2));
  PutDeviceFile(L"\\Storage Card\\c.txt", "x");
  PutDeviceFile(L"\\Storage Card\\d.jpg\\inner.bin", Pattern(300, 3));
  // 2024-05-03 14:07:09 UTC = 1714745229 s after 1970-01-01, a Friday.
  fs::last_write_time(Host(L"\\Storage Card\\a.jpg"),
                      fs::file_time_type::clock::from_sys(
                          std::chrono::sys_seconds(std::chrono::seconds(1714745229))));
  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&> list;
  ASSERT_EQ(card_.GetFileList(kCard, L"*.jpg", list), 1);
  ASSERT_EQ(list.GetSize(), 3);
  const SYSTEMTIME& t = list[0].Time;
  EXPECT_EQ(
      (std::vector<int>{t.wYear, t.wMonth, t.wDay, t.wDayOfWeek, t.wHour, t.wMinute, t.wSecond}),
      (std::vector<int>{2024, 5, 3, 5, 14, 7, 9}));
  std::wstring listed;
  for (const RTCARD_FILE_INFO& e : list)
    listed +=
        std::wstring(e.Name) + L" " + std::to_wstring(e.Size) + (e.IsFolder ? L" dir|" : L"|");
  EXPECT_EQ(listed, L"a.jpg 70000|b.jpg 1500|d.jpg 0 dir|");
  ASSERT_EQ(card_.GetFileList(kCard, L"*.png", list), 1);
  EXPECT_EQ(list.GetSize(), 0);
  ASSERT_EQ(card_.GetFileList(L"\\Storage Card\\", nullptr, list), 1);
  EXPECT_EQ(list.GetSize(), 4);
  EXPECT_EQ(card_.GetFileList(L"\\Storage Card\\none", L"*", list), 0);
  ULONGLONG bytes = 0;
  ASSERT_EQ(card_.GetFolderSize(kCard, bytes), 1);
  EXPECT_EQ(bytes, 70000u + 1500u + 1u + 300u);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, FilesAndFolderTreesCopyAndMoveWhole) {
  MountCard();
  const std::string photo = Pattern(100000, 4), newer = Pattern(5000, 5);  // four copy chunks
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", photo);
  ASSERT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\p1.jpg") + GetDeviceFile(L"\\IMG_MAIN\\p1.jpg"),
            photo + photo);
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", newer);  // a move that replaces
  ASSERT_EQ(card_.MoveFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\p1.jpg"), newer);
  EXPECT_FALSE(DeviceFileExists(L"\\IMG_MAIN\\p1.jpg"));
  PutDeviceFile(L"\\IMG_MAIN\\empty", "");
  ASSERT_EQ(card_.CopyFile(L"\\IMG_MAIN\\empty", L"\\Storage Card\\empty"), 1);
  EXPECT_TRUE(DeviceFileExists(L"\\Storage Card\\empty"));
  EXPECT_EQ(std::distance(fs::directory_iterator(Host(kCard)), fs::directory_iterator()), 2);
  const std::string c = Pattern(99, 14);
  PutDeviceFile(L"\\IMG_MAIN\\job\\a.jpg", photo);
  PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\deeper\\c.DLT", c);
  fs::create_directories(Host(L"\\IMG_MAIN\\job\\empty"));
  ASSERT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"), 1);
  EXPECT_EQ(GetDeviceFile(L"\\Storage Card\\job\\a.jpg"), photo);
  EXPECT_TRUE(fs::is_directory(Host(L"\\Storage Card\\job\\empty")));
  ASSERT_EQ(card_.MoveFolder(L"\\Storage Card\\job", L"\\IMG_MAIN\\job2"), 1);
  EXPECT_FALSE(DeviceFileExists(L"\\Storage Card\\job"));
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\job2\\sub\\deeper\\c.DLT"), c);
  EXPECT_EQ(card_.IsFolder(L"\\IMG_MAIN\\job2\\sub") + card_.IsFile(L"\\IMG_MAIN\\job2\\sub"), 1);
  // A sibling whose name starts with the source's is not inside it.
  ASSERT_EQ(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\IMG_MAIN\\job 2"), 1);
  EXPECT_EQ(card_.IsFile(L"\\IMG_MAIN\\job 2\\a.jpg"), 1);
  ASSERT_EQ(card_.DeleteFolder(L"\\IMG_MAIN\\job2\\"), 1);
  EXPECT_FALSE(DeviceFileExists(L"\\IMG_MAIN\\job2"));
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(RTCardTest, FullOrMissingCardRefusesBeforeWritingAnything) {
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", Pattern(4096, 6));
  ULONGLONG free_bytes = 7, total = 7;
  ExpectRefused(card_.GetFreeSpace(nullptr, free_bytes, total), kE519);
  EXPECT_EQ(free_bytes + total, 14u);  // untouched
  ExpectRefused(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), kE519);
  ExpectRefused(card_.MoveFile(L"\\Storage Card\\p1.jpg", L"\\IMG_MAIN\\p2.jpg"), kE519);
  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&> list;
  ExpectRefused(card_.GetFileList(L"\\Storage Card\\JPEG", L"*", list), kE519);
  MountCard();
  platform::fs::SetFreeSpaceOverride(4095);
  ExpectRefused(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), kE523);
  EXPECT_TRUE(fs::is_empty(Host(kCard)));
  EXPECT_TRUE(DeviceFileExists(L"\\IMG_MAIN\\p1.jpg"));
  platform::fs::SetFreeSpaceOverride(4096);  // exactly enough is enough
  ASSERT_EQ(card_.GetFreeSpace(nullptr, free_bytes, total), 1);
  EXPECT_EQ(free_bytes, 4096u);
  EXPECT_EQ(card_.CopyFile(L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\p1.jpg"), 1);
  EXPECT_EQ(boxes_.size(), 0u);
  // A folder needs the sum of its files.
  PutDeviceFile(L"\\IMG_MAIN\\job\\a", Pattern(3000, 7));
  PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\b", Pattern(3000, 8));
  platform::fs::SetFreeSpaceOverride(5999);
  ExpectRefused(card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"), kE523);
  EXPECT_FALSE(DeviceFileExists(L"\\Storage Card\\job"));
}

TEST_F(RTCardTest, BadSourcesAndTargetsAreSilencedCopyErrors) {
  MountCard();
  PutDeviceFile(L"\\IMG_MAIN\\p1.jpg", "abc");
  card_.m_bShowMessage = 0;
  for (const auto& [from, to] : {std::pair{L"\\IMG_MAIN\\none.jpg", L"\\Storage Card\\p1.jpg"},
                                 {L"\\IMG_MAIN\\p1.jpg", L"\\IMG_MAIN\\p1.jpg"},
                                 {L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card\\no folder\\p1.jpg"},
                                 {L"\\IMG_MAIN\\p1.jpg", L"\\Storage Card"},
                                 {nullptr, L"\\Storage Card\\x"}})
    EXPECT_EQ(card_.CopyFile(from, to), 0) << platform::WideToUtf8(to);
  // Not into itself, not onto an existing folder, not from nothing; a file is no folder.
  EXPECT_EQ(card_.CopyFolder(L"\\IMG_MAIN", L"\\IMG_MAIN\\inside") +
                card_.CopyFolder(L"\\IMG_MAIN", kCard) + card_.CopyFolder(nullptr, kCard) +
                card_.DeleteFolder(L"\\IMG_MAIN\\p1.jpg"),
            0);
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(GetDeviceFile(L"\\IMG_MAIN\\p1.jpg"), "abc");
}

}  // namespace
