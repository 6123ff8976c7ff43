#include "tests/faults/fault_matrix.h"

#include <array>
#include <cstdio>
#include <filesystem>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/handles.h"
#include "platform/heap.h"
#include "platform/modules.h"
#include "platform/registry.h"
#include "platform/safe_file.h"

namespace fault_matrix {
namespace {

// Open files, handles, heap blocks, loaded modules, open registry keys.
using Counters = std::array<long, 5>;
constexpr const char* kCounterNames[] = {"files", "handles", "heap", "modules", "keys"};

Counters Take() {
  return {CFile::OpenFiles(),
          platform::LiveHandles(),
          platform::LiveHeapBlocks(),
          platform::modules::LoadedModules(),
          platform::registry::OpenKeys()};
}

Counters Since(const Counters& a) {
  Counters b = Take();
  for (size_t i = 0; i < b.size(); ++i) b[i] -= a[i];
  return b;
}

// Which calls of a point to fail: all of them when there are few, else the
// first three, one in the middle and the last three (a reader that takes a
// byte a call makes hundreds of identical reads).
std::vector<int> Skips(int calls) {
  if (calls > 12) return {0, 1, 2, calls / 2, calls - 3, calls - 2, calls - 1};
  std::vector<int> skips;
  for (int i = 0; i < calls; ++i) skips.push_back(i);
  return skips;
}

}  // namespace

const std::vector<std::string>& KnownPoints() {
  static const std::vector<std::string> points = [] {
    std::vector<std::string> p;
    for (const char* file : {"open", "read", "write", "flush", "rename"})
      p.push_back(std::string("file.") + file);
    for (const char* fs : {"create_directory", "free_space", "find", "delete", "move"})
      p.push_back(std::string("fs.") + fs);
    for (const char* key : {"open", "query", "close"}) p.push_back(std::string("registry.") + key);
    p.insert(p.end(),
             {"module.load", "module.proc", "alloc", "jpeg.encode", "jpeg.decode", "exif.build"});
    for (const char* cap : {"open", "start", "stop", "read", "read_rect", "event", "display"})
      p.push_back(std::string("cap.") + cap);
    p.insert(p.end(), {"eep.unlock", "eep.lock"});
    for (int item = 80; item <= 99; ++item) {
      p.push_back("eep.read." + std::to_string(item));
      p.push_back("eep.write." + std::to_string(item));
    }
    return p;
  }();
  return points;
}

bool IsSavePoint(const std::string& point) {
  return point == "file.write" || point == "file.flush" || point == "file.rename";
}

void FaultMatrix::SetUp() {
  DeviceTest::SetUp();
  platform::SafeFile::SetDurable(false);
}

void FaultMatrix::TearDown() {
  platform::SafeFile::SetDurable(true);
  DeviceTest::TearDown();
}

void FaultMatrix::Drill(const Operation& op) {
  SCOPED_TRACE(op.name);
  op.prepare();
  boxes_.clear();
  platform::fault::DisarmAll();
  const Counters before = Take();
  op.run();
  const Counters clean = Since(before);
  std::vector<std::pair<std::string, int>> reach;
  for (const std::string& point : KnownPoints())
    if (const int calls = platform::fault::Calls(point); calls > 0)
      reach.emplace_back(point, calls);
  EXPECT_FALSE(reach.empty());

  for (const auto& [point, calls] : reach) {
    for (int skip : Skips(calls)) {
      SCOPED_TRACE(point + " #" + std::to_string(skip + 1));
      op.prepare();
      boxes_.clear();
      platform::fault::DisarmAll();
      // A failing read stands for a card that went away: every later read
      // fails too. (CFile::Read answers 0 bytes for an error and for the end
      // of the file alike, so a single lost read inside a file cannot be told
      // from its end by any reader.)
      platform::fault::Arm(point, skip, point == "file.read" ? -1 : 1);
      const Counters start = Take();
      Faulted f{point, skip, op.run(), {}};
      const Counters left = Since(start);
      EXPECT_GT(platform::fault::Calls(point), skip) << "the failed call was not reached";
      platform::fault::DisarmAll();
      f.boxes = boxes_.calls();
      for (size_t i = 0; i < left.size(); ++i)
        EXPECT_LE(left[i], clean[i]) << kCounterNames[i] << " leaked";
      op.check(f);
    }
    // One line per operation and point, collected into FAULTS.md.
    std::printf("[matrix] %s | %s | %d\n", op.name.c_str(), point.c_str(), calls);
  }
}

void FaultMatrix::Put(const std::wstring& path, const std::string& bytes) const {
  WriteHostFile(Host(path.c_str()), bytes);
}

std::string FaultMatrix::Get(const std::wstring& path) const {
  return ReadHostFile(Host(path.c_str()));
}

bool FaultMatrix::Exists(const std::wstring& path) const {
  return std::filesystem::exists(Host(path.c_str()));
}

void FaultMatrix::ExpectKept(const std::wstring& path, const std::string& bytes) const {
  EXPECT_EQ(Get(path), bytes);
  EXPECT_FALSE(Exists(platform::SafeFile::TempPath(path.c_str())));
}

std::wstring FaultMatrix::OnlyText(const Faulted& f) {
  if (f.boxes.size() != 1) return L"<" + std::to_wstring(f.boxes.size()) + L" boxes>";
  return f.boxes[0].text;
}

std::wstring FaultMatrix::OnlyCaption(const Faulted& f) {
  if (f.boxes.size() != 1) return L"<" + std::to_wstring(f.boxes.size()) + L" boxes>";
  return f.boxes[0].caption;
}

std::vector<std::wstring> FaultMatrix::Texts(const Faulted& f) {
  std::vector<std::wstring> texts;
  for (const auto& box : f.boxes) texts.push_back(box.text);
  return texts;
}

void FaultMatrix::ExpectOutcome(const Faulted& f, int result, const std::wstring& text) {
  EXPECT_EQ(f.result, result);
  if (text.empty()) {
    EXPECT_TRUE(f.boxes.empty());
  } else {
    ExpectBox(f, text);
  }
}

void FaultMatrix::ExpectBox(const Faulted& f, const std::wstring& text, const wchar_t* caption) {
  EXPECT_EQ(OnlyText(f), text);
  EXPECT_EQ(OnlyCaption(f), caption);
}

void FaultMatrix::ExpectRefused(const Faulted& f,
                                const std::wstring& path,
                                const std::vector<std::wstring>& then) {
  const size_t first = path.empty() ? 0 : 1;
  ASSERT_EQ(f.boxes.size(), first + then.size());
  if (first) {
    EXPECT_EQ(f.boxes[0].text.rfind(path + L"\n", 0), 0u) << "no file name first";
  }
  for (const auto& box : f.boxes) EXPECT_EQ(box.caption, L"ERROR");
  for (size_t i = 0; i < then.size(); ++i) EXPECT_EQ(f.boxes[first + i].text, then[i]);
}

}  // namespace fault_matrix
