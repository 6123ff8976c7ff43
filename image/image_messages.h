#pragma once
// Messages that the image classes show. The texts are the English entries
// of the library's message table (13 "Invalid bitmap file. E-513", 14 "Not
// Supported in WinCE. E-514", ...); a host or the live view may route them
// through its translated table by installing a source.
#include <functional>

#include "platform/export.h"

namespace image {

// Gives the text of message-table entry `index` (null: use the English text).
using MessageSource = std::function<const wchar_t*(int index)>;

SURVEYCAM_API MessageSource SetMessageSource(MessageSource source);
// English text of a message-table entry (empty for an unknown index).
SURVEYCAM_API const wchar_t* EnglishMessage(int index);
// Shows entry `index` in a message box with the caption "ERROR".
SURVEYCAM_API void ShowError(int index);

constexpr int kMsgInvalidBitmap = 13;
constexpr int kMsgNotSupported = 14;
constexpr int kMsgJpegFatal = 15;
constexpr int kMsgJpegOutOfMemory = 16;

}  // namespace image
