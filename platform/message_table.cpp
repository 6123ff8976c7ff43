#include "platform/message_table.h"

#include <utility>

#include "platform/message_box.h"

namespace platform {
namespace {

constexpr const wchar_t* kEnglish[kMessageCount] = {
    L"Please specify within the limit.",
    L"Memory Error. E-500",
    L"OpenCapture Error! E-501",
    L"SetCapture Error! E-502",
    L"StartCapture Error! E-503",
    L"Record of a picture went wrong. E-504",
    L"File Read Error. E-505",
    L"A capture creation mistake was made. E-506",
    L"File Open Error. E-507",
    L"Invalid File. E-508",
    L"The unjust value is set as one of a machine point and the back viewpoints. E-509",
    L"Reading of a camera setting file went wrong. E-511",
    L"File Write Error. E-512",
    L"Invalid bitmap file. E-513",
    L"Not Supported in WinCE. E-514",
    L"JPEG Fatal Error. E-515",
    L"JpegFile :Out of memory. E-516",
    L"Font Error. E-517",
    L"The card is not mounted. E-519",
    L"It is a copy error. E-520",
    L"Folder maked error. E-521",
    L"Saved OK.",
    L"Jpg Write Error. E-522",
    L"The capacity of the memory doesn't suffice. E-523",
};

MessageSource& Source() {
  static MessageSource source;
  return source;
}

}  // namespace

const wchar_t* EnglishMessage(int index) {
  return index >= 0 && index < kMessageCount ? kEnglish[index] : L"";
}

MessageSource SetMessageSource(MessageSource source) {
  return std::exchange(Source(), std::move(source));
}

const wchar_t* MessageText(int index) {
  const MessageSource& source = Source();
  const wchar_t* text = source ? source(index) : nullptr;
  return text ? text : EnglishMessage(index);
}

void ShowError(int index) { MessageBoxW(nullptr, MessageText(index), L"ERROR", MB_OK); }

}  // namespace platform
