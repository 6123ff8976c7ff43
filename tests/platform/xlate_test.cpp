// Xlate: identity until the host installs a translation.
#include "platform/xlate.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(XlateTest, IdentityUntilATranslatorIsInstalled) {
  const wchar_t* text = L"Please specify within the limit.";
  EXPECT_EQ(Xlate(text), text) << "the very same text comes back";
  EXPECT_EQ(Xlate(nullptr), nullptr);

  platform::SetTranslator([](const std::wstring& t) { return L"<" + t + L">"; });
  const wchar_t* translated = Xlate(L"Saved OK.");
  EXPECT_EQ(std::wstring(translated), L"<Saved OK.>");
  Xlate(L"another text");
  EXPECT_EQ(std::wstring(translated), L"<Saved OK.>") << "earlier results stay valid";
  EXPECT_EQ(Xlate(L"Saved OK."), translated) << "same text, same buffer";

  platform::SetTranslator({});
  EXPECT_EQ(Xlate(text), text);
}

}  // namespace
