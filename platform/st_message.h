#pragma once
// StMessage: two parallel lists of wide texts.
//
// The live view uses it three ways:
//  - the language file's pairs: Src holds the source (English) lines, Dst
//    the translation of the same position; the window owns these strings;
//  - the English list: Src holds the 24 built-in texts by message index (Dst
//    stays empty); the strings are constants;
//  - the message table shown to the user: Src holds, by message index, the
//    English text or its translation (Dst stays empty).
// Text(i) is entry i of Src, so any holder of the English list or the table
// (the orientation calibration object, for one) shows message i with it.
// Indices are not checked: callers pass 0..23 once the table is built.
#include "platform/kvo_array.h"

using MessageTextList = CKvoArray<const wchar_t*, const wchar_t*>;

struct StMessage {
  MessageTextList Src;  // source texts, or the texts by message index
  MessageTextList Dst;  // translations (language-file pairs only)

  const wchar_t* Text(int index) const { return Src[index]; }
  int GetSize() const { return Src.GetSize(); }
};
