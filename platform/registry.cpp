#include "platform/registry.h"

#include <cstdio>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <sstream>
#include <vector>

#include "platform/faults.h"
#include "platform/fs.h"
#include "platform/safe_file.h"
#include "platform/text.h"

namespace platform::registry {
namespace {

constexpr size_t kMaxLine = 4096;

std::wstring Upper(std::wstring text) {
  for (wchar_t& c : text) c = wchar_t(std::towupper(wint_t(c)));
  return text;
}

std::string_view TrimView(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

std::optional<std::wstring> RootToken(const std::wstring& token) {
  static const std::pair<const wchar_t*, const wchar_t*> kRoots[] = {
      {L"HKLM", L"HKLM"},
      {L"HKEY_LOCAL_MACHINE", L"HKLM"},
      {L"HKCU", L"HKCU"},
      {L"HKEY_CURRENT_USER", L"HKCU"},
      {L"HKCR", L"HKCR"},
      {L"HKEY_CLASSES_ROOT", L"HKCR"},
      {L"HKU", L"HKU"},
      {L"HKEY_USERS", L"HKU"}};
  std::wstring upper = Upper(token);
  for (const auto& [name, canonical] : kRoots)
    if (upper == name) return std::wstring(canonical);
  return std::nullopt;
}

// Splits a path on backslashes, dropping empty components.
std::vector<std::wstring> Components(const std::wstring& path) {
  std::vector<std::wstring> parts;
  std::wstring current;
  for (wchar_t c : path) {
    if (c == L'\\' || c == L'/') {
      if (!current.empty()) parts.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) parts.push_back(current);
  return parts;
}

std::wstring Join(const std::wstring& root, const std::vector<std::wstring>& parts, size_t from) {
  std::wstring out = root;
  for (size_t i = from; i < parts.size(); ++i) out += L"\\" + parts[i];
  return out;
}

// "HKLM\a\b" with any root spelling -> (canonical, as written); nullopt for
// an unknown root.
std::optional<std::pair<std::wstring, std::wstring>> CanonicalKey(const std::wstring& full) {
  auto parts = Components(full);
  if (parts.empty()) return std::nullopt;
  auto root = RootToken(parts[0]);
  if (!root) return std::nullopt;
  std::wstring spelled = Join(*root, parts, 1);
  return std::make_pair(Upper(spelled), spelled);
}

// Value line: "name"=... or @=...; returns false when the line fits no form.
bool ParseValue(std::string_view line, std::wstring* name, Value* value) {
  std::string_view rest;
  if (line.size() >= 2 && line[0] == '@' && line[1] == '=') {
    name->clear();
    rest = line.substr(2);
  } else {
    if (line.empty() || line[0] != '"') return false;
    size_t close = line.find('"', 1);
    if (close == std::string_view::npos || close + 1 >= line.size() || line[close + 1] != '=')
      return false;
    *name = Utf8ToWide(std::string(line.substr(1, close - 1)));
    rest = line.substr(close + 2);
  }
  if (rest.size() >= 2 && rest.front() == '"' && rest.back() == '"') {
    *value = Utf8ToWide(std::string(rest.substr(1, rest.size() - 2)));
    return true;
  }
  constexpr std::string_view kDword = "dword:";
  if (rest.substr(0, kDword.size()) != kDword) return false;
  std::string_view digits = rest.substr(kDword.size());
  if (digits.empty() || digits.size() > 8) return false;
  DWORD number = 0;
  for (char c : digits) {
    int d = (c >= '0' && c <= '9')   ? c - '0'
            : (c >= 'a' && c <= 'f') ? c - 'a' + 10
            : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                     : -1;
    if (d < 0) return false;
    number = (number << 4) | DWORD(d);
  }
  *value = number;
  return true;
}

std::mutex g_mutex;
std::map<uintptr_t, std::wstring>& OpenTable() {
  static std::map<uintptr_t, std::wstring> table;
  return table;
}
uintptr_t g_next_key = 0x1000;

Store LoadStore() {
  std::ifstream in(fs::HostPath(StorePath()), std::ios::binary);
  if (!in) return {};
  std::ostringstream text;
  text << in.rdbuf();
  return ParseStore(text.str());
}

bool SaveStore(const Store& store) {
  std::error_code ec;
  std::filesystem::create_directories(
      std::filesystem::path(fs::HostPath(StorePath())).parent_path(), ec);
  // Replaced through a temporary file: a failure part-way keeps every key.
  const std::string text = FormatStore(store);
  return SafeFile::WriteAll(StorePath(), text.data(), text.size()) != FALSE;
}

bool SetValue(const std::wstring& key, const std::wstring& name, Value value) {
  auto canonical = CanonicalKey(key);
  if (!canonical) return false;
  std::lock_guard lock(g_mutex);
  Store store = LoadStore();
  store.spelled.emplace(canonical->first, canonical->second);
  store.keys[canonical->first][Upper(name)] = {name, std::move(value)};
  return SaveStore(store);
}

}  // namespace

const wchar_t* StorePath() { return L"\\registry.txt"; }

Store ParseStore(std::string_view text) {
  Store store;
  std::optional<std::wstring> section;
  while (!text.empty()) {
    size_t end = text.find('\n');
    std::string_view raw = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (raw.size() > kMaxLine) continue;
    std::string_view line = TrimView(raw);
    if (line.empty() || line[0] == ';' || line[0] == '#') continue;
    if (line.front() == '[') {
      section.reset();
      if (line.back() != ']') continue;
      auto key = CanonicalKey(Utf8ToWide(std::string(line.substr(1, line.size() - 2))));
      if (!key) continue;
      section = key->first;
      store.spelled.emplace(key->first, key->second);
      store.keys[key->first];
      continue;
    }
    std::wstring name;
    Value value;
    if (section && ParseValue(line, &name, &value))
      store.keys[*section][Upper(name)] = {name, value};
  }
  return store;
}

std::string FormatStore(const Store& store) {
  std::string out;
  for (const auto& [key, values] : store.keys) {
    auto spelled = store.spelled.find(key);
    out += '[';
    out += WideToUtf8(spelled == store.spelled.end() ? key : spelled->second);
    out += "]\r\n";
    for (const auto& [upper, entry] : values) {
      const auto& [name, value] = entry;
      if (name.empty()) {
        out += "@=";
      } else {
        out += '"';
        out += WideToUtf8(name);
        out += "\"=";
      }
      if (const auto* text = std::get_if<std::wstring>(&value)) {
        out += '"';
        out += WideToUtf8(*text);
        out += "\"\r\n";
      } else {
        out += FormatA("dword:%08x\r\n", unsigned(std::get<DWORD>(value)));
      }
    }
    out += "\r\n";
  }
  return out;
}

bool SetString(const std::wstring& key, const std::wstring& name, const std::wstring& value) {
  return SetValue(key, name, value);
}

long OpenKeys() {
  std::lock_guard lock(g_mutex);
  return long(OpenTable().size());
}

namespace {

// Canonical path of a predefined root or an opened key.
std::optional<std::wstring> KeyPath(HKEY key) {
  auto id = reinterpret_cast<uintptr_t>(key);
  switch (id) {
    case 0x80000000:
      return L"HKCR";
    case 0x80000001:
      return L"HKCU";
    case 0x80000002:
      return L"HKLM";
    case 0x80000003:
      return L"HKU";
    default:
      break;
  }
  std::lock_guard lock(g_mutex);
  auto it = OpenTable().find(id);
  if (it == OpenTable().end()) return std::nullopt;
  return it->second;
}

bool KeyExists(const Store& store, const std::wstring& path) {
  if (Components(path).size() == 1) return true;  // a root
  auto it = store.keys.lower_bound(path);
  if (it == store.keys.end()) return false;
  return it->first == path || it->first.rfind(path + L"\\", 0) == 0;
}

LONG FaultCode(const fault::Hit& hit) {
  return hit.code != 0 ? LONG(hit.code) : LONG(ERROR_ACCESS_DENIED);
}

LONG CopyValue(const Value& value, DWORD* type, BYTE* data, DWORD* dataSize) {
  std::wstring text;
  const void* bytes = nullptr;
  DWORD needed = 0;
  DWORD number = 0;
  DWORD copied = 0;
  if (const auto* s = std::get_if<std::wstring>(&value)) {
    text = *s;
    bytes = text.c_str();
    needed = DWORD((WideToUtf16(text).size() + 1) * kCharBytes);
    copied = DWORD((text.size() + 1) * sizeof(wchar_t));
    if (type) *type = REG_SZ;
  } else {
    number = std::get<DWORD>(value);
    bytes = &number;
    needed = copied = sizeof(DWORD);
    if (type) *type = REG_DWORD;
  }
  if (data == nullptr) {
    if (dataSize) *dataSize = needed;
    return ERROR_SUCCESS;
  }
  if (dataSize == nullptr) return LONG(ERROR_INVALID_PARAMETER);
  DWORD room = *dataSize;
  *dataSize = needed;
  if (room < needed) return LONG(ERROR_MORE_DATA);
  std::memcpy(data, bytes, copied);
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace platform::registry

using namespace platform::registry;

LONG RegOpenKeyExW(
    HKEY root, const wchar_t* subKey, DWORD /*options*/, REGSAM /*access*/, HKEY* result) {
  if (result == nullptr) return LONG(ERROR_INVALID_PARAMETER);
  auto base = KeyPath(root);
  if (!base) return LONG(ERROR_INVALID_HANDLE);
  auto canonical = CanonicalKey(*base + L"\\" + (subKey ? subKey : L""));
  if (!canonical) return LONG(ERROR_FILE_NOT_FOUND);
  const std::wstring& path = canonical->first;
  auto hit = platform::fault::Check("registry.open", platform::WideToUtf8(path));
  if (hit.fail) return FaultCode(hit);
  Store store;
  {
    std::lock_guard lock(g_mutex);
    store = LoadStore();
  }
  if (!KeyExists(store, path)) return LONG(ERROR_FILE_NOT_FOUND);
  std::lock_guard lock(g_mutex);
  uintptr_t id = (g_next_key += 4);
  OpenTable()[id] = path;
  *result = reinterpret_cast<HKEY>(id);
  return ERROR_SUCCESS;
}

LONG RegQueryValueExW(
    HKEY key, const wchar_t* name, DWORD* /*reserved*/, DWORD* type, BYTE* data, DWORD* dataSize) {
  auto path = KeyPath(key);
  if (!path) return LONG(ERROR_INVALID_HANDLE);
  auto hit = platform::fault::Check("registry.query", platform::WideToUtf8(*path));
  if (hit.fail) return FaultCode(hit);
  Store store;
  {
    std::lock_guard lock(g_mutex);
    store = LoadStore();
  }
  auto k = store.keys.find(*path);
  if (k == store.keys.end()) return LONG(ERROR_FILE_NOT_FOUND);
  auto v = k->second.find(Upper(name ? std::wstring(name) : std::wstring()));
  if (v == k->second.end()) return LONG(ERROR_FILE_NOT_FOUND);
  return CopyValue(v->second.second, type, data, dataSize);
}

LONG RegCloseKey(HKEY key) {
  auto id = reinterpret_cast<uintptr_t>(key);
  if (id >= 0x80000000 && id <= 0x80000003) return ERROR_SUCCESS;
  std::lock_guard lock(g_mutex);
  auto it = OpenTable().find(id);
  if (it == OpenTable().end()) return LONG(ERROR_INVALID_HANDLE);
  OpenTable().erase(it);
  auto hit = platform::fault::Check("registry.close", "");
  return hit.fail ? FaultCode(hit) : ERROR_SUCCESS;
}
