#include "sim/scene.h"

#include <fstream>
#include <sstream>

#include "platform/text.h"

namespace sim {
namespace {

std::string Trimmed(const std::string& text) {
  const char* blanks = " \t\r\n";
  size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return {};
  size_t last = text.find_last_not_of(blanks);
  return text.substr(first, last - first + 1);
}

// Reads one number in the C locale; false when the column is not a number.
bool ParseNumber(const std::string& column, double& value) {
  std::istringstream in(column);
  in.imbue(std::locale::classic());
  in >> value;
  return !in.fail();
}

}  // namespace

void Scene::SetLighting(Lighting lighting) {
  switch (lighting) {
    case Lighting::kNormal:
      illumination_ = 1.0;
      break;
    case Lighting::kDark:
      illumination_ = 0.08;
      break;
    case Lighting::kBright:
      illumination_ = 4.0;
      break;
  }
}

void Scene::AddTargets(const CKvoArray<CXYZ, CXYZ&>& points, double half_size) {
  for (const CXYZ& point : points) {
    const wchar_t* name = point.Name;
    targets_.push_back({name ? name : L"", point.X, point.Y, point.Z, half_size});
  }
}

bool Scene::LoadTargets(const std::string& host_path, double half_size) {
  std::ifstream file(host_path);
  if (!file) return false;
  std::string line;
  while (std::getline(file, line)) {
    std::vector<std::string> columns;
    std::istringstream fields(line);
    std::string column;
    while (std::getline(fields, column, ',')) columns.push_back(Trimmed(column));
    if (columns.size() < 4 || columns[0].empty()) continue;
    Target target;
    target.half_size = half_size;
    if (!ParseNumber(columns[1], target.x) || !ParseNumber(columns[2], target.y) ||
        !ParseNumber(columns[3], target.z)) {
      continue;
    }
    target.name = platform::Utf8ToWide(columns[0]);
    targets_.push_back(target);
  }
  return true;
}

}  // namespace sim
