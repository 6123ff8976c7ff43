#include "platform/kvo_utils.h"

#include <cstring>

#include "platform/modules.h"

int String2ASCII(const wchar_t* text, char* out, int size) {
  if (!out || size <= 0) return 0;
  std::string bytes = platform::WideToUtf8(text);
  int n = std::min(int(bytes.size()), size - 1);
  std::memcpy(out, bytes.data(), size_t(n));
  out[n] = '\0';
  return n;
}

FARPROC GetLibraryFunction(const wchar_t* module, const wchar_t* function, HMODULE* handle) {
  if (handle) *handle = nullptr;
  HMODULE loaded = LoadLibraryW(module);
  if (!loaded) return nullptr;
  FARPROC entry = GetProcAddressW(loaded, function);
  if (!entry) {
    FreeLibrary(loaded);
    return nullptr;
  }
  if (handle) *handle = loaded;
  return entry;
}

BOOL FreeLibraryFunction(HMODULE handle) { return handle ? FreeLibrary(handle) : FALSE; }

BOOL ExtractFileNameWithoutExtFromPathName(const wchar_t* path, CKvoStringT<wchar_t>& name) {
  CKvoStringT<wchar_t> full(path);
  int slash = std::max(full.ReverseFind(L'\\'), full.ReverseFind(L'/'));
  CKvoStringT<wchar_t> leaf = full.Mid(slash + 1);
  int dot = leaf.ReverseFind(L'.');
  name = dot >= 0 ? leaf.Left(dot) : leaf;
  return TRUE;
}
