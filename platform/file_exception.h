#pragma once
#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/types.h"

// CFileException: why a CFile operation failed. The cause numbers are the
// framework's, so code that tests m_cause (5 access denied, 11 sharing
// violation, ...) behaves as on the device.
class SURVEYCAM_API CFileException {
 public:
  enum {
    none = 0,
    genericException = 1,
    fileNotFound = 2,
    badPath = 3,
    tooManyOpenFiles = 4,
    accessDenied = 5,
    invalidFile = 6,
    removeCurrentDir = 7,
    directoryFull = 8,
    badSeek = 9,
    hardIO = 10,
    sharingViolation = 11,
    lockViolation = 12,
    diskFull = 13,
    endOfFile = 14,
  };

  CFileException() = default;
  CFileException(int cause, LONG osError = -1, const wchar_t* fileName = nullptr)
      : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

  // Maps a host errno to a cause.
  static int ErrnoToCause(int error);

  int m_cause = none;
  LONG m_lOsError = -1;
  CString m_strFileName;
};
