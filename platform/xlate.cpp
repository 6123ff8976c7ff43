#include "platform/xlate.h"

#include <map>
#include <mutex>

namespace platform {
namespace {

std::mutex g_mutex;
Translator g_translator;
// Translations handed out so far; their buffers stay put until the
// translator changes, so callers may keep the pointers for a while.
std::map<std::wstring, std::wstring> g_results;

}  // namespace

Translator SetTranslator(Translator translator) {
  std::lock_guard<std::mutex> lock(g_mutex);
  Translator previous = std::move(g_translator);
  g_translator = std::move(translator);
  g_results.clear();
  return previous;
}

}  // namespace platform

const wchar_t* Xlate(const wchar_t* text) {
  using namespace platform;
  std::lock_guard<std::mutex> lock(g_mutex);
  if (!text || !g_translator) return text;
  auto [it, inserted] = g_results.try_emplace(text);
  if (inserted) it->second = g_translator(text);
  return it->second.c_str();
}
