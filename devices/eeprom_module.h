#pragma once
// "EEP.DLL": the instrument's non-volatile memory, items 80 to 99.
//
// Entry points (registered in-process under the module name "EEP.DLL"):
//   BOOL SysEepRead(void* buffer, int index, int length)
//   BOOL SysEepWrite(const void* buffer, int index, int length)
//   BOOL UnLockDisk(int lock)         0 unlocks, 1 locks again
//
// The memory starts locked (power-on) and reads and writes are refused while
// it is locked, as the firmware refuses access outside an unlock/lock pair; an
// index outside 80..99, a length that is not positive or a null buffer fails.
// An item is a record of fixed length: it reads back only with the length it
// was written with; an item never written reads as a failure.
//
// Storage: the text file "\eeprom.txt" under the device root, one line per
// written item, "<index> <bytes as hexadecimal>", e.g. "83 00000000". Every
// write replaces the file through a temporary file and a rename, so a crash
// never leaves half a file. Unreadable lines are ignored.
//
// Or storage in a raw binary image of the items (devices/eeprom_image.h: a
// file or a Linux nvmem device), chosen with UseImage or, when the module is
// registered, the environment variable SURVEYCAM_EEPROM_IMAGE (a host path).
// The image holds each item at its own length (camera/memory_items.h): a
// write of another length fails.
//
// Fault points: "eep.read.<index>", "eep.write.<index>", "eep.unlock",
// "eep.lock" fail that call (a failed lock leaves the memory unlocked, a
// failed unlock leaves it locked).
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/types.h"

namespace devices::eeprom {

constexpr wchar_t kModuleName[] = L"EEP.DLL";
constexpr int kFirstItem = 80;
constexpr int kLastItem = 99;

using ReadFn = BOOL (*)(void* buffer, int index, int length);
using WriteFn = BOOL (*)(const void* buffer, int index, int length);
using UnlockFn = BOOL (*)(int lock);

inline constexpr char kImageVariable[] = "SURVEYCAM_EEPROM_IMAGE";

// Registers "EEP.DLL" with the platform's modules (idempotent); with
// SURVEYCAM_EEPROM_IMAGE set, the memory is that raw image from then on.
void Register();
// Keeps the items in the raw image at `hostPath` from now on; an empty path
// goes back to the text store.
void UseImage(const std::string& hostPath);
std::string ImagePath();
// Locks the memory and forgets the call log; the stored items stay.
void Reset();
bool IsLocked();

// Every call the module received, in order: "unlock", "lock", "read 85",
// "write 90", each followed by " fail" when it returned FALSE (the latest
// 2048 to 4096 calls).
std::vector<std::string> Calls();
void ClearCalls();

// Direct access to the store for tests and the simulator (no lock needed).
std::optional<std::vector<uint8_t>> Item(int index);
bool SetItem(int index, const std::vector<uint8_t>& bytes);
bool EraseAll();

}  // namespace devices::eeprom
