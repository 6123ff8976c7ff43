#pragma once
// Xlate: the text translation that the field application's "utils.dll"
// provides. It returns the text to show for a text; without a translation
// installed by the host it returns the text itself. The returned pointer
// stays valid until the translator is changed.
#include <functional>
#include <string>

#include "platform/export.h"

namespace platform {

using Translator = std::function<std::wstring(const std::wstring& text)>;

// Installs a translation (an empty one restores the identity) and returns
// the previous one.
SURVEYCAM_API Translator SetTranslator(Translator translator);

}  // namespace platform

SURVEYCAM_API const wchar_t* Xlate(const wchar_t* text);
