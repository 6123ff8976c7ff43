#include "tests/faults/fault_matrix.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/handles.h"
#include "platform/heap.h"
#include "platform/modules.h"
#include "platform/registry.h"

namespace fault_matrix {
namespace {

// Open files, handles, heap blocks, loaded modules, open registry keys.
using Counters = std::array<long, 5>;
constexpr const char* kCounterNames[] = {"files", "handles", "heap", "modules", "keys"};

Counters Since(const Counters& a) {
  Counters b = {CFile::OpenFiles(),
                platform::LiveHandles(),
                platform::LiveHeapBlocks(),
                platform::modules::LoadedModules(),
                platform::registry::OpenKeys()};
  for (size_t i = 0; i < b.size(); ++i) b[i] -= a[i];
  return b;
}

// All calls of a point when few, else the first three, the middle one and the last three.
std::vector<int> Skips(int calls) {
  if (calls > 12) return {0, 1, 2, calls / 2, calls - 3, calls - 2, calls - 1};
  std::vector<int> skips;
  for (int i = 0; i < calls; ++i) skips.push_back(i);
  return skips;
}

// Every fault point the library's operations can reach.
std::vector<std::string> KnownPoints() {
  std::vector<std::string> p = {"module.load",
                                "module.proc",
                                "alloc",
                                "jpeg.encode",
                                "jpeg.decode",
                                "exif.build",
                                "eep.unlock",
                                "eep.lock"};
  for (const char* file : {"open", "read", "write", "flush", "rename"})
    p.push_back(std::string("file.") + file);
  for (const char* fs : {"create_directory", "free_space", "find", "delete", "move"})
    p.push_back(std::string("fs.") + fs);
  for (const char* key : {"open", "query", "close"}) p.push_back(std::string("registry.") + key);
  for (const char* cap : {"open", "start", "stop", "read", "read_rect", "event", "display"})
    p.push_back(std::string("cap.") + cap);
  for (int item = 80; item <= 99; ++item)
    for (const char* op : {"eep.read.", "eep.write."}) p.push_back(op + std::to_string(item));
  return p;
}

// The paths that differ between two trees.
std::string Diff(const Tree& a, const Tree& b) {
  std::string changed;
  for (const auto& [path, bytes] : a)
    if (auto it = b.find(path); it == b.end() || it->second != bytes) changed += path + " ";
  for (const auto& [path, bytes] : b)
    if (!a.count(path)) changed += path + " ";
  return changed;
}

}  // namespace

Tree Snapshot(const std::string& hostFolder) {
  namespace fs = std::filesystem;
  Tree tree;
  if (!fs::is_directory(hostFolder)) return tree;
  for (const auto& e : fs::recursive_directory_iterator(hostFolder)) {
    std::ostringstream bytes;
    if (!e.is_directory()) bytes << std::ifstream(e.path(), std::ios::binary).rdbuf();
    tree[fs::relative(e.path(), hostFolder).string()] = e.is_directory() ? "<dir>" : bytes.str();
  }
  return tree;
}

void Drill(const Operation& op,
           testing_support::MessageBoxRecorder& boxes,
           const std::string& root) {
  SCOPED_TRACE(op.name);
  op.prepare();
  boxes.clear();
  platform::fault::DisarmAll();
  const Counters before = Since(Counters{});  // the counts themselves
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
      boxes.clear();
      platform::fault::DisarmAll();
      // A failing read stands for a card that went away: every later read fails too.
      const Tree prepared = Snapshot(root);
      platform::fault::Arm(point, skip, point == "file.read" ? -1 : 1);
      const Counters start = Since(Counters{});
      Faulted f{point, skip, op.run(), {}, {}};
      const Counters left = Since(start);
      f.changed = Diff(prepared, Snapshot(root));
      EXPECT_GT(platform::fault::Calls(point), skip) << "the failed call was not reached";
      platform::fault::DisarmAll();
      f.boxes = boxes.calls();
      for (size_t i = 0; i < left.size(); ++i)
        EXPECT_LE(left[i], clean[i]) << kCounterNames[i] << " leaked";
      if (op.keeps && f.result == 0) {
        EXPECT_EQ(f.changed, "") << "a failed run changed files";
      }
      op.check(f);
    }
    // One line per operation and point, collected into FAULTS.md.
    std::printf("[matrix] %s | %s | %d\n", op.name.c_str(), point.c_str(), calls);
  }
}

std::vector<std::wstring> Texts(const Faulted& f) {
  std::vector<std::wstring> texts;
  for (const auto& box : f.boxes) texts.push_back(box.text);
  return texts;
}

void ExpectBox(const Faulted& f, const std::wstring& text, const wchar_t* caption) {
  ASSERT_EQ(f.boxes.size(), 1u) << "not exactly one box";
  EXPECT_EQ(f.boxes[0].text, text);
  EXPECT_EQ(f.boxes[0].caption, caption);
}

void ExpectOutcome(const Faulted& f, int result, const std::wstring& text) {
  EXPECT_EQ(f.result, result);
  if (text.empty()) {
    EXPECT_TRUE(f.boxes.empty());
  } else {
    ExpectBox(f, text);
  }
}

void ExpectRefused(const Faulted& f,
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
