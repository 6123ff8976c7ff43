#pragma once
// The library's message table: every text the library shows the operator has
// an entry here, by index. The English texts are built in; the live view
// builds its translated table from them and the language file and installs
// it as the one source of texts, so a translation changes the messages of
// every subsystem at once. Errors are shown in a box with the caption "ERROR".
#include <functional>

#include "platform/export.h"

namespace platform {

// The entries, by index (E-510 and E-518 do not exist).
enum MessageIndex : int {
  kMsgOutOfLimit,       // "Please specify within the limit."
  kMsgMemory,           // "Memory Error. E-500"
  kMsgOpenCapture,      // "OpenCapture Error! E-501"
  kMsgSetCapture,       // "SetCapture Error! E-502"
  kMsgStartCapture,     // "StartCapture Error! E-503"
  kMsgRecordPicture,    // "Record of a picture went wrong. E-504"
  kMsgFileRead,         // "File Read Error. E-505"
  kMsgCaptureCreation,  // "A capture creation mistake was made. E-506"
  kMsgFileOpen,         // "File Open Error. E-507"
  kMsgInvalidFile,      // "Invalid File. E-508"
  kMsgInvalidPoints,  // "The unjust value is set as one of a machine point and the back viewpoints.
                      // E-509"
  kMsgCameraFileRead,   // "Reading of a camera setting file went wrong. E-511"
  kMsgFileWrite,        // "File Write Error. E-512"
  kMsgInvalidBitmap,    // "Invalid bitmap file. E-513"
  kMsgNotSupported,     // "Not Supported in WinCE. E-514"
  kMsgJpegFatal,        // "JPEG Fatal Error. E-515"
  kMsgJpegOutOfMemory,  // "JpegFile :Out of memory. E-516"
  kMsgFont,             // "Font Error. E-517"
  kMsgNotMounted,       // "The card is not mounted. E-519"
  kMsgCopyError,        // "It is a copy error. E-520"
  kMsgFolderError,      // "Folder maked error. E-521"
  kMsgSavedOk,          // "Saved OK."
  kMsgJpgWrite,         // "Jpg Write Error. E-522"
  kMsgCardFull,         // "The capacity of the memory doesn't suffice. E-523"
  kMessageCount
};

// Gives the text of entry `index` (null: use the English text).
using MessageSource = std::function<const wchar_t*(int index)>;

// The built-in English text of an entry ("" outside the table).
SURVEYCAM_API const wchar_t* EnglishMessage(int index);
// Installs the source of the texts shown and returns the previous one; an
// empty source restores the English texts.
SURVEYCAM_API MessageSource SetMessageSource(MessageSource source);
// The text shown for an entry: the source's, else the English one.
SURVEYCAM_API const wchar_t* MessageText(int index);
// Shows an entry in a message box with the caption "ERROR".
SURVEYCAM_API void ShowError(int index);

}  // namespace platform
