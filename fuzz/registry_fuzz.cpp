// Fuzzes the registry store parser and checks that formatting a parsed store
// and parsing it again gives the same text (the store writer's round trip).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1 << 16) return 0;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  auto store = platform::registry::ParseStore(text);
  std::string once = platform::registry::FormatStore(store);
  std::string twice = platform::registry::FormatStore(platform::registry::ParseStore(once));
  if (once != twice) std::abort();
  return 0;
}
