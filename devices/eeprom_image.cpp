// The raw binary image of "EEP.DLL"'s items.
#include "devices/eeprom_image.h"

#include <cstring>

#include "platform/file.h"
#include "platform/safe_file.h"
#include "platform/text.h"

namespace devices::eeprom::raw {
namespace {

constexpr size_t ItemAt(int index) { return sizeof(Header) + size_t(memory_items::Offset(index)); }

bool IsDevice(const std::string& hostPath) {
  return hostPath.starts_with("/sys/") || hostPath.starts_with("/dev/");
}

}  // namespace

Items Load(const std::string& hostPath) {
  Items items;
  uint8_t bytes[kSize] = {};
  CFile file;
  if (!file.Open(platform::Utf8ToWide(hostPath).c_str(), CFile::modeRead)) return items;
  size_t length = 0;
  while (length < kSize) {
    const UINT got = file.Read(bytes + length, UINT(kSize - length));
    if (got == 0) break;
    length += got;
  }
  Header header{};
  if (length < sizeof header) return items;
  std::memcpy(&header, bytes, sizeof header);
  if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0 || header.version != kVersion ||
      header.itemBytes != memory_items::kPackedSize)
    return items;
  for (int index = memory_items::kFirst; index <= memory_items::kLast; ++index) {
    const size_t start = ItemAt(index), end = start + size_t(memory_items::Length(index));
    if (!(header.written & (1u << (index - memory_items::kFirst))) || end > length) continue;
    items[index].assign(bytes + start, bytes + end);
  }
  return items;
}

bool Save(const std::string& hostPath, const Items& items) {
  uint8_t bytes[kSize] = {};
  Header header{{}, kVersion, uint16_t(memory_items::kPackedSize), 0};
  std::memcpy(header.magic, kMagic, sizeof kMagic);
  for (const auto& [index, value] : items) {
    if (index < memory_items::kFirst || index > memory_items::kLast ||
        value.size() != size_t(memory_items::Length(index)))
      return false;
    std::memcpy(bytes + ItemAt(index), value.data(), value.size());
    header.written |= 1u << (index - memory_items::kFirst);
  }
  std::memcpy(bytes, &header, sizeof header);
  const std::wstring path = platform::Utf8ToWide(hostPath);
  if (!IsDevice(hostPath)) return platform::SafeFile::WriteAll(path.c_str(), bytes, kSize) != FALSE;
  // A device cannot be renamed over: its bytes are written where they lie.
  CFile file;
  if (!file.Open(path.c_str(), CFile::modeWrite | CFile::modeNoTruncate)) return false;
  return file.Write(bytes, UINT(kSize)) && file.Flush();
}

}  // namespace devices::eeprom::raw
