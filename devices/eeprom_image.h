#pragma once
// The raw binary image of "EEP.DLL"'s items 80..99: a file, or a Linux nvmem
// device such as /sys/bus/nvmem/devices/<name>/nvmem, holding a 12-byte
// header and the items packed in index order (camera/memory_items.h gives
// each item's length and offset), 144 bytes in all, little-endian:
//
//   offset  size  field
//   0       4     magic "SCEE"
//   4       2     layout version, 1
//   6       2     size of the items area, 132
//   8       4     written items: bit i set when item 80 + i holds a value
//   12      132   items 80..99 at 12 + memory_items::Offset(index)
//
// An image that cannot be read, is shorter than the header, or whose magic,
// version or size differ reads as no items (an erased memory, all 0xFF,
// too); an item that is not marked written, or that the image is too short
// to hold, reads as missing. Bytes after the 144th are neither read nor
// written (a larger memory keeps the rest).
//
// Writing: a path under /sys or /dev is a device and is written in place
// (the whole 144 bytes at offset 0); any other path is replaced through a
// temporary file and a rename (platform::SafeFile), so a failure part-way
// keeps every item.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "camera/memory_items.h"

namespace devices::eeprom::raw {

struct Header {
  char magic[4];
  uint16_t version;
  uint16_t itemBytes;
  uint32_t written;
};
static_assert(sizeof(Header) == 12 && offsetof(Header, version) == 4 &&
              offsetof(Header, itemBytes) == 6 && offsetof(Header, written) == 8);

inline constexpr char kMagic[4] = {'S', 'C', 'E', 'E'};
inline constexpr uint16_t kVersion = 1;
inline constexpr size_t kSize = sizeof(Header) + memory_items::kPackedSize;
static_assert(kSize == 144);

using Items = std::map<int, std::vector<uint8_t>>;

// The items the image at `hostPath` holds.
Items Load(const std::string& hostPath);
// Writes `items` (each of its item's length; others are refused) as the image.
bool Save(const std::string& hostPath, const Items& items);

}  // namespace devices::eeprom::raw
