// SafeFile: the temporary-file-and-rename save (failures: tests/faults).
#include "platform/safe_file.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/faults.h"
#include "platform/fs.h"
#include "tests/support/test_support.h"

namespace {

using platform::SafeFile;

using SafeFileTest = testing_support::DeviceTest;

TEST_F(SafeFileTest, OldFileStaysUntilCommitThenIsReplacedWhole) {
  PutDeviceFile(L"\\a.txt", "old contents");
  {
    SafeFile dropped;  // never committed: the temporary goes
    ASSERT_TRUE(dropped.Open(L"\\a.txt", CFile::modeCreate | CFile::modeWrite));
    dropped.Write("partial", 7);
  }
  EXPECT_FALSE(DeviceFileExists(L"\\a.txt.tmp~"));
  SafeFile file;
  ASSERT_TRUE(file.Open(L"\\a.txt", CFile::modeCreate | CFile::modeWrite));
  ASSERT_TRUE(file.Write("new", 3));
  EXPECT_EQ(GetDeviceFile(L"\\a.txt"), "old contents");
  EXPECT_TRUE(DeviceFileExists(L"\\a.txt.tmp~"));
  EXPECT_TRUE(file.Commit());
  EXPECT_EQ(GetDeviceFile(L"\\a.txt"), "new");
  EXPECT_FALSE(DeviceFileExists(L"\\a.txt.tmp~"));
  // A file that did not exist is created; 10000 bytes go in three writes.
  const std::string bytes(10000, 'b');
  platform::fault::ResetCounts();
  EXPECT_TRUE(SafeFile::WriteAll(L"\\fresh.bin", bytes.data(), bytes.size()));
  EXPECT_EQ(GetDeviceFile(L"\\fresh.bin"), bytes);
  EXPECT_EQ(platform::fault::Calls("file.write"), 3);  // 4096 + 4096 + 1808 bytes
  EXPECT_FALSE(DeviceFileExists(L"\\fresh.bin.tmp~"));
}

}  // namespace
