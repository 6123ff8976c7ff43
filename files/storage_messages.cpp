// Message texts of the storage-card and project classes.
#include "files/storage_messages.h"

#include <utility>

#include "platform/message_box.h"

namespace files {
namespace {
MessageSource& Source() {
  static MessageSource source;
  return source;
}
}  // namespace

MessageSource SetMessageSource(MessageSource source) { return std::exchange(Source(), std::move(source)); }

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

const wchar_t* MessageText(int index) {
  const wchar_t* text = Source() ? Source()(index) : nullptr;
  return text ? text : EnglishMessage(index);
}

void ShowError(int index) { MessageBoxW(nullptr, MessageText(index), L"ERROR", MB_OK); }

}  // namespace files
