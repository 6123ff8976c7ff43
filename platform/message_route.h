#pragma once
// The route from a subsystem's error to the operator: the text of a
// message-table entry comes from the installed source (the live view's
// translated table, once one is built) or else from the subsystem's English
// texts, and is shown in a message box with the caption "ERROR".
#include <functional>

#include "platform/export.h"

namespace platform {

class SURVEYCAM_API MessageRoute {
 public:
  // Gives the text of message-table entry `index` (null: use the English text).
  using Source = std::function<const wchar_t*(int index)>;
  using EnglishText = const wchar_t* (*)(int index);

  explicit MessageRoute(EnglishText english) : english_(english) {}

  // Installs a source and returns the previous one; an empty source restores
  // the English texts.
  Source SetSource(Source source);
  const wchar_t* Text(int index) const;
  void Show(int index) const;

 private:
  EnglishText english_;
  Source source_;
};

}  // namespace platform
