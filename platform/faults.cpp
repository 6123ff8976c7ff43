#include "platform/faults.h"

#include <map>
#include <mutex>

namespace platform::fault {
namespace {

struct Armed {
  int skip = 0;
  int count = 1;
  int code = 0;
  std::string match;
};

std::mutex g_mutex;
std::map<std::string, Armed>& ArmedPoints() {
  static std::map<std::string, Armed> points;
  return points;
}
std::map<std::string, int>& Counts() {
  static std::map<std::string, int> counts;
  return counts;
}

}  // namespace

void Arm(const std::string& point, int skip, int count, int code, const std::string& match) {
  std::lock_guard lock(g_mutex);
  ArmedPoints()[point] = Armed{skip, count, code, match};
}

void Disarm(const std::string& point) {
  std::lock_guard lock(g_mutex);
  ArmedPoints().erase(point);
}

void DisarmAll() {
  std::lock_guard lock(g_mutex);
  ArmedPoints().clear();
  Counts().clear();
}

void ResetCounts() {
  std::lock_guard lock(g_mutex);
  Counts().clear();
}

int Calls(const std::string& point) {
  std::lock_guard lock(g_mutex);
  auto it = Counts().find(point);
  return it == Counts().end() ? 0 : it->second;
}

Hit Check(const char* point, const std::string& subject) {
  std::lock_guard lock(g_mutex);
  ++Counts()[point];
  auto it = ArmedPoints().find(point);
  if (it == ArmedPoints().end()) return {};
  Armed& armed = it->second;
  if (!armed.match.empty() && subject.find(armed.match) == std::string::npos) return {};
  if (armed.skip > 0) {
    --armed.skip;
    return {};
  }
  if (armed.count == 0) return {};
  if (armed.count > 0) --armed.count;
  return Hit{true, armed.code};
}

}  // namespace platform::fault
