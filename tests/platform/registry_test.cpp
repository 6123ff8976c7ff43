// The registry store and the Win32 calls over it (broken stores: fuzz/, failures: tests/faults).
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <iterator>

#include "tests/support/test_support.h"

namespace {

using testing_support::DeviceTest;

class RegistryTest : public DeviceTest {
 protected:
  void Store(const std::string& text) { PutDeviceFile(L"\\registry.txt", text); }

  // A string value under HKLM, or "error N".
  std::wstring Query(const wchar_t* key, const wchar_t* name) {
    HKEY h = nullptr;
    LONG rc = RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, &h);
    wchar_t buffer[64] = {};
    DWORD size = DWORD(std::size(buffer)) * platform::registry::kCharBytes, type = 0;
    if (rc == ERROR_SUCCESS) {
      rc = RegQueryValueExW(h, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
      EXPECT_EQ(RegCloseKey(h), ERROR_SUCCESS);
    }
    if (rc != ERROR_SUCCESS) return L"error " + std::to_wstring(rc);
    EXPECT_EQ(type, REG_SZ);
    return buffer;
  }
};

constexpr char kStore[] =
    "; device settings\r\n"
    "[HKLM\\SYSTEM\\QZ7mInit\\Memory]\r\n"
    "\"PCMCIAFolder\"=\"\\Storage Card\"\r\n"
    "\"Retries\"=dword:0000001f\r\n"
    "garbage without quotes\r\n"
    "\"Quoted\"=\"\\SD \"quoted\" card\"\r\n"  // the value runs to the last quote
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Drivers\\Capture]\n"
    "@=\"CAP\"\n";

TEST_F(RegistryTest, ReadsKeysAsTheDeviceStoresThemWithWin32Sizes) {
  EXPECT_EQ(Query(L"SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder"), L"error 2");  // no store
  Store(kStore);
  EXPECT_EQ(Query(L"\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder"), L"\\Storage Card");
  // Key and value names ignore case; the long root name is the same root.
  EXPECT_EQ(Query(L"system\\qz7minit\\MEMORY", L"pcmciafolder"), L"\\Storage Card");
  EXPECT_EQ(Query(L"Drivers\\Capture", L""), L"CAP");
  EXPECT_EQ(Query(L"SYSTEM\\QZ7mInit\\Memory", L"Quoted"), L"\\SD \"quoted\" card");
  // A parent of a stored key holds no values; a prefix of a name is no key.
  for (const wchar_t* key : {L"SYSTEM\\QZ7mInit\\Other", L"SYSTEM\\QZ7mInit", L"SYSTEM\\QZ7"})
    EXPECT_EQ(Query(key, L"PCMCIAFolder"), L"error 2") << key;
  HKEY h = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\QZ7mInit\\Memory", 0, KEY_READ, &h),
            ERROR_SUCCESS);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(h, L"PCMCIAFolder", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 28u);  // 13 characters and the terminator, 2 bytes each as on the device
  wchar_t small[13];     // one short of the terminator
  size = DWORD(std::size(small)) * platform::registry::kCharBytes;
  EXPECT_EQ(
      RegQueryValueExW(h, L"PCMCIAFolder", nullptr, nullptr, reinterpret_cast<BYTE*>(small), &size),
      LONG(ERROR_MORE_DATA));
  EXPECT_EQ(size, 28u);
  EXPECT_EQ(RegQueryValueExW(h, L"Missing", nullptr, nullptr, nullptr, &size),
            LONG(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(RegCloseKey(h), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(h), LONG(ERROR_INVALID_HANDLE));
}

TEST_F(RegistryTest, SetStringWritesAStoreThatReadsBack) {
  ASSERT_TRUE(platform::registry::SetString(
      L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", L"\\SD Card"));
  ASSERT_TRUE(platform::registry::SetString(
      L"HKEY_LOCAL_MACHINE\\SYSTEM\\QZ7mInit\\Memory", L"Level", L"7"));
  ASSERT_TRUE(platform::registry::SetString(
      L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"pcmciafolder", L"\\Karte ä"));
  EXPECT_FALSE(platform::registry::SetString(L"NOROOT\\X", L"a", L"b"));
  std::string text = GetDeviceFile(L"\\registry.txt");
  EXPECT_NE(text.find("[HKLM\\SYSTEM\\QZ7mInit\\Memory]"), std::string::npos) << text;
  EXPECT_EQ(Query(L"SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder"), L"\\Karte ä");
  // Formatting and parsing again gives the same store.
  auto store = platform::registry::ParseStore(text);
  EXPECT_EQ(platform::registry::FormatStore(store), text);
}

}  // namespace
