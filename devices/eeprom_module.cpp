#include "devices/eeprom_module.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

#include "devices/eeprom_image.h"
#include "platform/faults.h"
#include "platform/fs.h"
#include "platform/modules.h"
#include "platform/safe_file.h"

namespace devices::eeprom {
namespace {

using Items = std::map<int, std::vector<uint8_t>>;

std::mutex g_mutex;
bool g_locked = true;
std::vector<std::string> g_calls;
std::string g_image;  // the raw image's host path; empty: the text store

constexpr const wchar_t* kStorePath = L"\\eeprom.txt";

std::string StoreHostPath() { return platform::fs::HostPath(kStorePath); }

bool ValidIndex(int index) { return index >= kFirstItem && index <= kLastItem; }

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::optional<std::vector<uint8_t>> ParseHex(const std::string& hex) {
  if (hex.empty() || hex.size() % 2 != 0) return std::nullopt;
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    int hi = HexDigit(hex[i]), lo = HexDigit(hex[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    bytes.push_back(uint8_t(hi * 16 + lo));
  }
  return bytes;
}

Items Load() {
  if (!g_image.empty()) return raw::Load(g_image);
  Items items;
  std::ifstream in(StoreHostPath());
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    int index = 0;
    std::string hex;
    if (!(fields >> index >> hex) || !ValidIndex(index)) continue;
    if (auto bytes = ParseHex(hex)) items[index] = *bytes;
  }
  return items;
}

// The raw image holds each item only at its own length.
bool FitsStore(int index, size_t length) {
  return g_image.empty() || length == size_t(memory_items::Length(index));
}

bool Save(const Items& items) {
  if (!g_image.empty()) return raw::Save(g_image, items);
  std::string text;
  for (const auto& [index, bytes] : items) {
    text += std::to_string(index) + ' ';
    for (uint8_t b : bytes) {
      char hex[3];
      std::snprintf(hex, sizeof hex, "%02x", b);
      text += hex;
    }
    text += '\n';
  }
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(StoreHostPath()).parent_path(), ec);
  // Replaced through a temporary file: a failure part-way keeps every item.
  return platform::SafeFile::WriteAll(kStorePath, text.data(), text.size()) != FALSE;
}

BOOL Record(const std::string& call, bool ok) {
  // Only the latest calls are kept, so a long session does not grow the log.
  constexpr size_t kLimit = 4096;
  if (g_calls.size() >= kLimit) g_calls.erase(g_calls.begin(), g_calls.begin() + kLimit / 2);
  g_calls.push_back(ok ? call : call + " fail");
  return ok ? TRUE : FALSE;
}

BOOL SysEepRead(void* buffer, int index, int length) {
  std::lock_guard lock(g_mutex);
  const std::string name = "read " + std::to_string(index);
  if (g_locked || buffer == nullptr || length <= 0 || !ValidIndex(index))
    return Record(name, false);
  if (platform::fault::Check(("eep.read." + std::to_string(index)).c_str()).fail)
    return Record(name, false);
  Items items = Load();
  auto it = items.find(index);
  if (it == items.end() || it->second.size() != size_t(length)) return Record(name, false);
  std::memcpy(buffer, it->second.data(), size_t(length));
  return Record(name, true);
}

BOOL SysEepWrite(const void* buffer, int index, int length) {
  std::lock_guard lock(g_mutex);
  const std::string name = "write " + std::to_string(index);
  if (g_locked || buffer == nullptr || length <= 0 || !ValidIndex(index) ||
      !FitsStore(index, size_t(length)))
    return Record(name, false);
  if (platform::fault::Check(("eep.write." + std::to_string(index)).c_str()).fail)
    return Record(name, false);
  Items items = Load();
  auto* bytes = static_cast<const uint8_t*>(buffer);
  items[index].assign(bytes, bytes + length);
  return Record(name, Save(items));
}

BOOL UnLockDisk(int lock) {
  std::lock_guard guard(g_mutex);
  if (lock != 0 && lock != 1) return Record("lock " + std::to_string(lock), false);
  const char* name = lock == 0 ? "unlock" : "lock";
  if (platform::fault::Check(lock == 0 ? "eep.unlock" : "eep.lock").fail)
    return Record(name, false);
  g_locked = lock == 1;
  return Record(name, true);
}

}  // namespace

void Register() {
  if (const char* path = std::getenv(kImageVariable); path && *path) UseImage(path);
  platform::modules::Register(kModuleName,
                              {{"SysEepRead", reinterpret_cast<void*>(&SysEepRead)},
                               {"SysEepWrite", reinterpret_cast<void*>(&SysEepWrite)},
                               {"UnLockDisk", reinterpret_cast<void*>(&UnLockDisk)}});
}

void UseImage(const std::string& hostPath) {
  std::lock_guard lock(g_mutex);
  g_image = hostPath;
}

std::string ImagePath() {
  std::lock_guard lock(g_mutex);
  return g_image;
}

void Reset() {
  std::lock_guard lock(g_mutex);
  g_locked = true;
  g_calls.clear();
}

bool IsLocked() {
  std::lock_guard lock(g_mutex);
  return g_locked;
}

std::vector<std::string> Calls() {
  std::lock_guard lock(g_mutex);
  return g_calls;
}

void ClearCalls() {
  std::lock_guard lock(g_mutex);
  g_calls.clear();
}

std::optional<std::vector<uint8_t>> Item(int index) {
  std::lock_guard lock(g_mutex);
  Items items = Load();
  auto it = items.find(index);
  if (it == items.end()) return std::nullopt;
  return it->second;
}

bool SetItem(int index, const std::vector<uint8_t>& bytes) {
  if (!ValidIndex(index) || bytes.empty()) return false;
  std::lock_guard lock(g_mutex);
  if (!FitsStore(index, bytes.size())) return false;
  Items items = Load();
  items[index] = bytes;
  return Save(items);
}

bool EraseAll() {
  std::lock_guard lock(g_mutex);
  if (!g_image.empty()) return Save({});  // a device cannot be removed: no item marked written
  std::error_code ec;
  std::filesystem::remove(StoreHostPath(), ec);
  return !ec;
}

}  // namespace devices::eeprom
