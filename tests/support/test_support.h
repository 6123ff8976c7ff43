#pragma once
// Fixtures: a fresh device root per test, recorded message boxes, a fixed clock, faults disarmed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/message_box.h"
#include "platform/types.h"

namespace testing_support {

// Records every message box instead of printing it.
class MessageBoxRecorder {
 public:
  MessageBoxRecorder();
  ~MessageBoxRecorder();
  const std::vector<platform::MessageBoxCall>& calls() const { return calls_; }
  size_t size() const { return calls_.size(); }
  void clear() { calls_.clear(); }
  std::wstring LastText() const { return calls_.empty() ? L"" : calls_.back().text; }
  std::wstring LastCaption() const { return calls_.empty() ? L"" : calls_.back().caption; }
  int answer = IDOK;

 private:
  std::vector<platform::MessageBoxCall> calls_;
  platform::MessageBoxHandler previous_;
};

// An empty device root under the build tree, recorded boxes, the clock at 2024-05-03 14:07:09.
class DeviceTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Host path of a device path ("\\a\\b" -> <root>/a/b).
  std::string Host(const wchar_t* devicePath) const;
  std::string ReadHostFile(const std::string& hostPath) const;
  void WriteHostFile(const std::string& hostPath, const std::string& bytes) const;

  std::string root_;
  MessageBoxRecorder boxes_;

  // A file by its device path: written (with its folders), read, tested.
  void PutDeviceFile(const wchar_t* devicePath, const std::string& bytes) const {
    WriteHostFile(Host(devicePath), bytes);
  }
  std::string GetDeviceFile(const wchar_t* devicePath) const {
    return ReadHostFile(Host(devicePath));
  }
  bool DeviceFileExists(const wchar_t* devicePath) const;
};

// Path of a file under the source tree (examples/, tests/data/...).
std::string SourcePath(const std::string& relative);

}  // namespace testing_support
