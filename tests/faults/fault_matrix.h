#pragma once
// The fault matrix: runs an operation once cleanly to learn which platform
// calls it makes (platform::fault::Calls), then again with each of those
// calls failed in turn, and checks every faulted run for leaks (files,
// handles, heap blocks, modules, registry keys: never more than the clean run
// leaves), that the failed call was really reached, and the outcome the
// operation's own check expects (result, message, values kept).
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/message_box.h"
#include "tests/support/test_support.h"

namespace fault_matrix {

// Every fault point the library's operations can reach.
const std::vector<std::string>& KnownPoints();

// What one faulted run left behind.
struct Faulted {
  std::string point;
  int skip = 0;  // the failed call is the (skip + 1)th of its point
  int result = 0;
  std::vector<platform::MessageBoxCall> boxes;
  bool Under(const char* prefix) const { return point.rfind(prefix, 0) == 0; }
  // The failed call is one of the first `n` of `p`.
  bool Early(const char* p, int n) const { return point == p && skip < n; }
};

struct Operation {
  std::string name;
  std::function<void()> prepare;  // fresh inputs before every run (not counted)
  std::function<int()> run;       // the operation; its 1/0 result
  std::function<void(const Faulted&)> check;
};

// A deterministic byte pattern of `size` bytes.
inline std::string Pattern(size_t size, int seed) {
  std::string bytes(size, '\0');
  uint32_t state = uint32_t(seed) * 2654435761u + 1;
  for (char& c : bytes) c = char((state = state * 1664525u + 1013904223u) >> 24);
  return bytes;
}
// A call of a safe save after its open: a write, the flush or the rename.
bool IsSavePoint(const std::string& point);

class FaultMatrix : public testing_support::DeviceTest {
 protected:
  // Thousands of saves: the order of write, flush and rename is what is
  // checked here, not the disk's speed at fsync.
  void SetUp() override;
  void TearDown() override;
  // Runs the whole matrix of `op`.
  void Drill(const Operation& op);

  // Device files on the host side of the device root.
  void Put(const std::wstring& path, const std::string& bytes) const;
  std::string Get(const std::wstring& path) const;
  bool Exists(const std::wstring& path) const;
  // The file holds `bytes` and no safe-save temporary is left beside it.
  void ExpectKept(const std::wstring& path, const std::string& bytes) const;

  // Text or caption of the only box, or a note that there was not exactly one.
  static std::wstring OnlyText(const Faulted& f);
  static std::wstring OnlyCaption(const Faulted& f);
  static std::vector<std::wstring> Texts(const Faulted& f);
  // The result, and exactly one box "ERROR" with `text` (none when empty).
  static void ExpectOutcome(const Faulted& f, int result, const std::wstring& text = L"");
  // Exactly one box, with this text and caption.
  static void ExpectBox(const Faulted& f,
                        const std::wstring& text,
                        const wchar_t* caption = L"ERROR");
  // The refused open's box (its text starts with the path; none when the
  // path is empty), then boxes with the texts `then`, all captioned "ERROR".
  static void ExpectRefused(const Faulted& f,
                            const std::wstring& path,
                            const std::vector<std::wstring>& then = {});
};

}  // namespace fault_matrix
