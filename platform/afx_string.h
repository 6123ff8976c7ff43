#pragma once
// CString and CStringArray of the framework. On the device TCHAR is wchar_t,
// so CString is the wide string.
#include "platform/kvo_array.h"
#include "platform/kvo_string.h"

using CString = CKvoStringT<wchar_t>;

class CStringArray : public CKvoArray<CString, const CString&> {};
