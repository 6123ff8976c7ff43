#pragma once
// CArchive: loading or storing over an open CFile. Writes go straight to the
// file (no buffer of its own), so Flush only flushes the file.
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
  UINT Read(void* buffer, UINT count) { return file_ ? file_->Read(buffer, count) : 0; }
  BOOL Write(const void* buffer, UINT count) { return file_ ? file_->Write(buffer, count) : FALSE; }
  void Flush() {}
  void Close() { file_ = nullptr; }

  template <class T>
  CArchive& operator<<(const T& value) {
    Write(&value, sizeof(T));
    return *this;
  }
  template <class T>
  CArchive& operator>>(T& value) {
    Read(&value, sizeof(T));
    return *this;
  }

 private:
  CFile* file_;
  UINT mode_;
};
