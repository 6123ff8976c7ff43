#pragma once
// CArchive: loading or storing over an open CFile; the serialising code reads
// and writes the file itself (GetFile). No buffer of its own, so Flush has
// nothing to do.
#include "platform/export.h"
#include "platform/file.h"
#include "platform/types.h"

class SURVEYCAM_API CArchive {
 public:
  enum Mode : UINT { store = 0, load = 1 };

  CArchive(CFile* file, UINT mode) : file_(file), mode_(mode) {}
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  bool IsLoading() const { return (mode_ & load) != 0; }
  bool IsStoring() const { return !IsLoading(); }
  CFile* GetFile() const { return file_; }
  void Flush() {}

 private:
  CFile* file_;
  UINT mode_;
};
