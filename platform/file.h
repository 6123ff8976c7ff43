#pragma once
// CFile: the framework's binary file over the device file system
// (platform/fs.h). Open reports failure through its CFileException argument
// instead of throwing; Write returns whether every byte was written (the
// framework's Write returns nothing and throws; callers that ignore the
// result behave the same).
#include <cstdint>

#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/file_exception.h"
#include "platform/types.h"

class SURVEYCAM_API CFile {
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    shareCompat = 0x0000,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030,
    shareDenyNone = 0x0040,
    modeNoInherit = 0x0080,
    modeCreate = 0x1000,
    modeNoTruncate = 0x2000,
    typeText = 0x4000,
    typeBinary = 0x8000,
  };
  enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };

  CFile() = default;
  virtual ~CFile();
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  virtual BOOL Open(const wchar_t* path, UINT flags, CFileException* error = nullptr);
  virtual UINT Read(void* buffer, UINT count);
  virtual BOOL Write(const void* buffer, UINT count);
  virtual ULONGLONG Seek(LONGLONG offset, UINT from);
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  ULONGLONG GetLength() const;
  ULONGLONG GetPosition() const;
  BOOL Flush();
  virtual void Close();

  bool IsOpen() const { return fd_ >= 0; }
  CString GetFilePath() const { return path_; }

  // Number of files open through CFile in this process (leak checks).
  static long OpenFiles();

 private:
  int fd_ = -1;
  CString path_;
};
