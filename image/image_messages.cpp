// Message texts of the image classes.
#include "image/image_messages.h"

#include <utility>

#include "platform/message_route.h"

namespace image {

const wchar_t* EnglishMessage(int index) {
  switch (index) {
    case kMsgInvalidBitmap: return L"Invalid bitmap file. E-513";
    case kMsgNotSupported: return L"Not Supported in WinCE. E-514";
    case kMsgJpegFatal: return L"JPEG Fatal Error. E-515";
    case kMsgJpegOutOfMemory: return L"JpegFile :Out of memory. E-516";
    default: return L"";
  }
}

namespace {
platform::MessageRoute& Route() {
  static platform::MessageRoute route(EnglishMessage);
  return route;
}
}  // namespace

MessageSource SetMessageSource(MessageSource source) { return Route().SetSource(std::move(source)); }
void ShowError(int index) { Route().Show(index); }

}  // namespace image
