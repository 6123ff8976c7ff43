#include "tests/faults/fault_matrix.h"

#include <algorithm>
#include <cstdio>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/handles.h"
#include "platform/heap.h"
#include "platform/modules.h"
#include "platform/registry.h"
#include "platform/safe_file.h"

namespace fault_matrix {
namespace {

struct Counters {
  long files, handles, heap, modules, keys;
};

Counters Take() {
  return {CFile::OpenFiles(),
          platform::LiveHandles(),
          platform::LiveHeapBlocks(),
          platform::modules::LoadedModules(),
          platform::registry::OpenKeys()};
}

Counters Delta(const Counters& a, const Counters& b) {
  return {b.files - a.files,
          b.handles - a.handles,
          b.heap - a.heap,
          b.modules - a.modules,
          b.keys - a.keys};
}

// Which calls of a point to fail: all of them when there are few, else the
// first three, one in the middle and the last three (a reader that takes a
// byte a call makes hundreds of identical reads).
std::vector<int> Skips(int calls) {
  std::vector<int> skips;
  if (calls <= 12) {
    for (int i = 0; i < calls; ++i) skips.push_back(i);
    return skips;
  }
  for (int i : {0, 1, 2, calls / 2, calls - 3, calls - 2, calls - 1}) skips.push_back(i);
  return skips;
}

}  // namespace

const std::vector<std::string>& KnownPoints() {
  static const std::vector<std::string> points = [] {
    std::vector<std::string> p = {"file.open",      "file.read",      "file.write",
                                  "file.flush",     "file.rename",    "fs.create_directory",
                                  "fs.free_space",  "fs.find",        "fs.delete",
                                  "fs.move",        "fs.copy",        "registry.open",
                                  "registry.query", "registry.close", "module.load",
                                  "module.proc",    "alloc",          "jpeg.encode",
                                  "jpeg.decode",    "cap.open",       "cap.start",
                                  "cap.stop",       "cap.read",       "cap.read_rect",
                                  "cap.event",      "cap.display",    "eep.unlock",
                                  "eep.lock"};
    for (int item = 80; item <= 99; ++item) {
      p.push_back("eep.read." + std::to_string(item));
      p.push_back("eep.write." + std::to_string(item));
    }
    return p;
  }();
  return points;
}

void FaultMatrix::SetUp() {
  DeviceTest::SetUp();
  platform::SafeFile::SetDurable(false);
}

void FaultMatrix::TearDown() {
  platform::SafeFile::SetDurable(true);
  DeviceTest::TearDown();
}

Reach FaultMatrix::Drill(const Operation& op) {
  SCOPED_TRACE(op.name);
  op.prepare();
  boxes_.clear();
  platform::fault::DisarmAll();
  const Counters before = Take();
  op.run();
  const Counters clean = Delta(before, Take());
  Reach reach;
  for (const std::string& point : KnownPoints())
    if (const int calls = platform::fault::Calls(point); calls > 0)
      reach.emplace_back(point, calls);
  EXPECT_FALSE(reach.empty());

  for (const auto& [point, calls] : reach) {
    if (std::find(op.skipPoints.begin(), op.skipPoints.end(), point) != op.skipPoints.end())
      continue;
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
      const Counters left = Delta(start, Take());
      EXPECT_GT(platform::fault::Calls(point), skip) << "the failed call was not reached";
      platform::fault::DisarmAll();
      f.boxes = boxes_.calls();
      EXPECT_LE(left.files, clean.files);
      EXPECT_LE(left.handles, clean.handles);
      EXPECT_LE(left.heap, clean.heap);
      EXPECT_LE(left.modules, clean.modules);
      EXPECT_LE(left.keys, clean.keys);
      op.check(f);
    }
  }
  // One line per operation and point, collected into FAULTS.md.
  for (const auto& [point, calls] : reach) {
    const bool skipped =
        std::find(op.skipPoints.begin(), op.skipPoints.end(), point) != op.skipPoints.end();
    std::printf("[matrix] %s | %s | %d%s\n",
                op.name.c_str(),
                point.c_str(),
                calls,
                skipped ? " | skipped" : "");
  }
  return reach;
}

std::wstring FaultMatrix::OnlyText(const Faulted& f) {
  if (f.boxes.size() != 1) return L"<" + std::to_wstring(f.boxes.size()) + L" boxes>";
  return f.boxes[0].text;
}

std::wstring FaultMatrix::OnlyCaption(const Faulted& f) {
  if (f.boxes.size() != 1) return L"<" + std::to_wstring(f.boxes.size()) + L" boxes>";
  return f.boxes[0].caption;
}

}  // namespace fault_matrix
