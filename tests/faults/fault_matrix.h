#pragma once
// The fault matrix (see FAULTS.md): an operation run with each platform call of
// its clean run failed in turn, checked for leaks, reach and its own outcome.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/message_box.h"
#include "platform/safe_file.h"
#include "tests/support/test_support.h"

namespace fault_matrix {

// Every folder ("<dir>") and file under a host folder, by relative path.
using Tree = std::map<std::string, std::string>;
Tree Snapshot(const std::string& hostFolder);

// What one faulted run left behind.
struct Faulted {
  std::string point;
  int skip = 0;  // the failed call is the (skip + 1)th of its point
  int result = 0;
  std::vector<platform::MessageBoxCall> boxes;
  std::string changed;  // the device files the run added, removed or changed
  bool Under(const char* prefix) const { return point.rfind(prefix, 0) == 0; }
  // The failed call is one of the first `n` of `p`.
  bool Early(const char* p, int n) const { return point == p && skip < n; }
};

struct Operation {
  std::string name;
  std::function<void()> prepare;  // fresh inputs before every run (not counted)
  std::function<int()> run;       // the operation; its 1/0 result
  std::function<void(const Faulted&)> check;
  bool keeps = false;  // a run that answers 0 leaves every device file as prepared
};

// A deterministic byte pattern of `size` bytes.
inline std::string Pattern(size_t size, int seed) {
  std::string bytes(size, '\0');
  uint32_t state = uint32_t(seed) * 2654435761u + 1;
  for (char& c : bytes) c = char((state = state * 1664525u + 1013904223u) >> 24);
  return bytes;
}

// Runs the whole matrix of `op`; `root` is the device root's host folder.
void Drill(const Operation& op,
           testing_support::MessageBoxRecorder& boxes,
           const std::string& root);

std::vector<std::wstring> Texts(const Faulted& f);
// Exactly one box, with this text and caption.
void ExpectBox(const Faulted& f, const std::wstring& text, const wchar_t* caption = L"ERROR");
// The result, and exactly one box "ERROR" with `text` (none when empty).
void ExpectOutcome(const Faulted& f, int result, const std::wstring& text = L"");
// The refused open's box naming `path` (if any), then `then`, all "ERROR".
void ExpectRefused(const Faulted& f,
                   const std::wstring& path,
                   const std::vector<std::wstring>& then = {});

// A device-root fixture (`Base`) that drills; saves skip fsync (order, not speed).
template <class Base = testing_support::DeviceTest>
class FaultMatrix : public Base {
 protected:
  void SetUp() override {
    Base::SetUp();
    platform::SafeFile::SetDurable(false);
  }
  void TearDown() override {
    platform::SafeFile::SetDurable(true);
    Base::TearDown();
  }
  void Drill(const Operation& op) { fault_matrix::Drill(op, this->boxes_, this->root_); }
  Tree Snapshot(const wchar_t* folder) const { return fault_matrix::Snapshot(this->Host(folder)); }
};

}  // namespace fault_matrix
