#pragma once
// Messages shared by the library's file readers and writers.
#include "platform/export.h"

// Tells the operator that `path` could not be opened because access was
// refused (file-exception causes 5 and 11): a box with the file name on the
// first line and the explanation on the second, caption "ERROR".
SURVEYCAM_API void ShowAccessRefused(const wchar_t* path);

// 1 when a file-exception cause means access was refused or the file is held
// by another application (5 access denied, 11 sharing violation).
SURVEYCAM_API int IsAccessRefusedCause(int cause);
