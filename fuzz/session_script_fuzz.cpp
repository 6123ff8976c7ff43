// Fuzzes camview's session script parser: any text either parses into steps
// whose verbs and argument counts are valid, or gives an error naming a line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/camview/script.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1 << 16) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const host::ParseResult result = host::ParseScript(text);
  if (!result.error.empty()) {
    if (result.error.rfind("line ", 0) != 0) std::abort();
    return 0;
  }
  for (const host::Step& step : result.steps) {
    if (step.verb.empty() || step.line < 1) std::abort();
    // A valid script parses again to the same steps from its own step texts.
    const host::ParseResult again = host::ParseScript(step.text);
    if (!again.error.empty() || again.steps.size() != 1 || again.steps[0].verb != step.verb ||
        again.steps[0].args != step.args) {
      std::abort();
    }
  }
  return 0;
}
