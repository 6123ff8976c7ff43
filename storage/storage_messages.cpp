// Message texts of the storage-card and project classes.
#include "storage/storage_messages.h"

#include <utility>

#include "platform/message_route.h"

namespace files {

const wchar_t* EnglishMessage(int index) {
  switch (index) {
    case kMsgFileOpen: return L"File Open Error. E-507";
    case kMsgInvalidFile: return L"Invalid File. E-508";
    case kMsgFileWrite: return L"File Write Error. E-512";
    case kMsgNotMounted: return L"The card is not mounted. E-519";
    case kMsgCopyError: return L"It is a copy error. E-520";
    case kMsgFolderError: return L"Folder maked error. E-521";
    case kMsgCardFull: return L"The capacity of the memory doesn't suffice. E-523";
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
const wchar_t* MessageText(int index) { return Route().Text(index); }
void ShowError(int index) { Route().Show(index); }

}  // namespace files
