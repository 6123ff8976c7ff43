// Message texts of the image classes.
#include "image/image_messages.h"

#include <utility>

#include "platform/message_box.h"

namespace image {
namespace {
MessageSource& Source() {
  static MessageSource source;
  return source;
}
}  // namespace

MessageSource SetMessageSource(MessageSource source) { return std::exchange(Source(), std::move(source)); }

const wchar_t* EnglishMessage(int index) {
  switch (index) {
    case kMsgInvalidBitmap: return L"Invalid bitmap file. E-513";
    case kMsgNotSupported: return L"Not Supported in WinCE. E-514";
    case kMsgJpegFatal: return L"JPEG Fatal Error. E-515";
    case kMsgJpegOutOfMemory: return L"JpegFile :Out of memory. E-516";
    default: return L"";
  }
}

void ShowError(int index) {
  const wchar_t* text = Source() ? Source()(index) : nullptr;
  MessageBoxW(nullptr, text ? text : EnglishMessage(index), L"ERROR", MB_OK);
}

}  // namespace image
