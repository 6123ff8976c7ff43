#pragma once
// Helpers of the in-house utility library.
#include "platform/export.h"
#include "platform/kvo_string.h"
#include "platform/types.h"

// Converts wide text to single-byte text (UTF-8) into out, at most size - 1
// bytes plus a terminator; returns the number of bytes written.
SURVEYCAM_API int String2ASCII(const wchar_t* text, char* out, int size);
// Loads `module` and looks up `function`; on success stores the module handle
// (to release with FreeLibraryFunction) and returns the entry point.
SURVEYCAM_API FARPROC GetLibraryFunction(const wchar_t* module,
                                         const wchar_t* function,
                                         HMODULE* handle);
SURVEYCAM_API BOOL FreeLibraryFunction(HMODULE handle);
// "\a\b\name.ext" -> "name" (folder and last extension removed).
SURVEYCAM_API BOOL ExtractFileNameWithoutExtFromPathName(const wchar_t* path,
                                                         CKvoStringT<wchar_t>& name);
