#include "tests/support/test_support.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/clock.h"
#include "platform/faults.h"
#include "platform/fs.h"

namespace testing_support {

MessageBoxRecorder::MessageBoxRecorder() {
  previous_ = platform::SetMessageBoxHandler([this](const platform::MessageBoxCall& call) {
    calls_.push_back(call);
    return answer;
  });
}

MessageBoxRecorder::~MessageBoxRecorder() { platform::SetMessageBoxHandler(previous_); }

void DeviceTest::SetUp() {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(info->test_suite_name()) + "." + info->name();
  for (char& c : name)
    if (c == '/') c = '_';
  root_ = (std::filesystem::path(SURVEYCAM_BINARY_DIR) / "test-roots" / name).string();
  std::filesystem::remove_all(root_);
  std::filesystem::create_directories(root_);
  platform::fs::SetDeviceRoot(root_);
  platform::fs::SetFreeSpaceOverride(std::nullopt);
  platform::fault::DisarmAll();
  SYSTEMTIME t{2024, 5, 5, 3, 14, 7, 9, 0};
  platform::clock::SetLocal(t);
}

void DeviceTest::TearDown() {
  platform::fault::DisarmAll();
  platform::fs::SetFreeSpaceOverride(std::nullopt);
}

std::string DeviceTest::Host(const wchar_t* devicePath) const {
  return platform::fs::HostPath(devicePath);
}

std::string DeviceTest::ReadHostFile(const std::string& hostPath) const {
  std::ifstream in(hostPath, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void DeviceTest::WriteHostFile(const std::string& hostPath, const std::string& bytes) const {
  std::filesystem::create_directories(std::filesystem::path(hostPath).parent_path());
  std::ofstream out(hostPath, std::ios::binary);
  out << bytes;
}

std::string SourcePath(const std::string& relative) {
  return (std::filesystem::path(SURVEYCAM_SOURCE_DIR) / relative).string();
}

bool DeviceTest::DeviceFileExists(const wchar_t* devicePath) const {
  return std::filesystem::exists(Host(devicePath));
}

}  // namespace testing_support
