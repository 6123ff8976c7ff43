#include "platform/message_route.h"

#include <utility>

#include "platform/message_box.h"

namespace platform {

MessageRoute::Source MessageRoute::SetSource(Source source) { return std::exchange(source_, std::move(source)); }

const wchar_t* MessageRoute::Text(int index) const {
  const wchar_t* text = source_ ? source_(index) : nullptr;
  return text ? text : english_(index);
}

void MessageRoute::Show(int index) const { MessageBoxW(nullptr, Text(index), L"ERROR", MB_OK); }

}  // namespace platform
