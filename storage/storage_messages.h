#pragma once
// Messages that the storage-card and project classes show. The texts are the
// English entries of the library's message table (18 "The card is not
// mounted. E-519", 19 "It is a copy error. E-520", 23 "The capacity of the
// memory doesn't suffice. E-523", ...); a host or the live view may route
// them through its translated table by installing a source.
#include <functional>

#include "platform/export.h"

namespace files {

// Gives the text of message-table entry `index` (null: use the English text).
using MessageSource = std::function<const wchar_t*(int index)>;

// Installs a source and returns the previous one; an empty source restores
// the English texts.
SURVEYCAM_API MessageSource SetMessageSource(MessageSource source);
// English text of a message-table entry (empty for an index storage/ never shows).
SURVEYCAM_API const wchar_t* EnglishMessage(int index);
// The text that ShowError would show for `index` (translated when a source
// gives one).
SURVEYCAM_API const wchar_t* MessageText(int index);
// Shows entry `index` in a message box with the caption "ERROR".
SURVEYCAM_API void ShowError(int index);

constexpr int kMsgFileOpen = 8;      // "File Open Error. E-507"
constexpr int kMsgInvalidFile = 9;   // "Invalid File. E-508"
constexpr int kMsgFileWrite = 12;    // "File Write Error. E-512"
constexpr int kMsgNotMounted = 18;   // "The card is not mounted. E-519"
constexpr int kMsgCopyError = 19;    // "It is a copy error. E-520"
constexpr int kMsgFolderError = 20;  // "Folder maked error. E-521"
constexpr int kMsgCardFull = 23;     // "The capacity of the memory doesn't suffice. E-523"

}  // namespace files
