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
};

struct Operation {
  std::string name;
  std::function<void()> prepare;  // fresh inputs before every run (not counted)
  std::function<int()> run;       // the operation; its 1/0 result
  std::function<void(const Faulted&)> check;
  // Points the clean run reaches but that this operation leaves out, each
  // with the reason recorded in FAULTS.md.
  std::vector<std::string> skipPoints = {};
};

// The (point, calls) pairs an operation reached in its clean run.
using Reach = std::vector<std::pair<std::string, int>>;

class FaultMatrix : public testing_support::DeviceTest {
 protected:
  // Thousands of saves: the order of write, flush and rename is what is
  // checked here, not the disk's speed at fsync.
  void SetUp() override;
  void TearDown() override;
  // Runs the whole matrix of `op`; returns what the clean run reached.
  Reach Drill(const Operation& op);
  // Text of the only box, or a note that there was not exactly one.
  static std::wstring OnlyText(const Faulted& f);
  static std::wstring OnlyCaption(const Faulted& f);
};

}  // namespace fault_matrix
