#pragma once
// CRTCard: the storage card and file transfers to and from it.
//
// The card is a folder of the device file system whose name the registry
// gives (value "PCMCIAFolder" under HKEY_LOCAL_MACHINE
// "\SYSTEM\QZ7mInit\Memory", as snapshot saving reads it); the card is
// mounted when that folder exists. Paths are device paths with backslashes.
//
// Transfers never leave a half-written file behind: a file is copied in a
// safe save (platform/safe_file.h: a temporary name beside it, renamed to its
// name only when every byte has arrived and the length matches); a move
// deletes its source only after the destination is complete. Before a transfer starts,
// the sum of the sizes to copy is compared with the free bytes at the
// destination. Failures show a message box (caption "ERROR") with an entry of
// the library's message table (platform/message_table.h) and return 0:
//   E-519 a path lies on the card and the card is not mounted,
//   E-520 the transfer itself failed (missing source, read or write error,
//         rename refused; nothing of the destination stays),
//   E-523 the destination has too little free space.
// Set m_bShowMessage to 0 to get the 0 results without the boxes.
#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/types.h"

// One entry of a folder listing.
struct RTCARD_FILE_INFO {
  CString Name;        // file or folder name, without its folder
  ULONGLONG Size = 0;  // bytes; 0 for a folder
  SYSTEMTIME Time{};   // last write time, UTC
  int IsFolder = 0;    // 1 for a folder
};

class SURVEYCAM_API CRTCard {
 public:
  CRTCard();
  virtual ~CRTCard();

  // Reads the card folder from the registry into the card root. 1 read; 0
  // when the key or the value is missing (the root becomes empty and no path
  // counts as a card path).
  int ReadCardRoot();
  // The card root as last read or set (reads the registry on first use).
  const CString& GetCardRoot();
  // Overrides the card root (a host with its own storage, tests).
  void SetCardRoot(const wchar_t* root);
  // 1 when the card folder exists. Shows nothing.
  int IsMounted();
  // 1 when `path` lies on the card (the root itself or anything under it).
  int IsCardPath(const wchar_t* path);

  // Free bytes available to the caller and total bytes of the volume that
  // holds `path` (the card root when null). 0 when the card is not mounted
  // (E-519, for a card path) or the query fails; outputs untouched on 0.
  int GetFreeSpace(const wchar_t* path, ULONGLONG& freeBytes, ULONGLONG& totalBytes);

  // Lists the entries of `folder` matching `pattern` (* and ?; null or empty
  // means "*"), sorted by name. 1 with the list (possibly empty); 0 when the
  // folder does not exist (E-519 when it is on an unmounted card). The list
  // is emptied first.
  int GetFileList(const wchar_t* folder,
                  const wchar_t* pattern,
                  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&>& list);
  // Total size in bytes of the files in `folder` and all its sub-folders.
  int GetFolderSize(const wchar_t* folder, ULONGLONG& bytes);

  // Copies file `from` to file `to` (an existing `to` is replaced only once
  // the new copy is complete). 1 copied.
  int CopyFile(const wchar_t* from, const wchar_t* to);
  // Copies, then deletes the source. When the source cannot be deleted the
  // copy is removed again and the result is 0: the file is either moved or
  // where it was.
  int MoveFile(const wchar_t* from, const wchar_t* to);
  // Copies folder `from` with everything in it to the new folder `to`
  // (which must not exist, and must not lie inside `from`). On failure the
  // new folder is removed again.
  int CopyFolder(const wchar_t* from, const wchar_t* to);
  // CopyFolder, then deletes the source tree. If deleting the source fails
  // part-way the complete copy is kept (nothing is lost) and the result is 0.
  int MoveFolder(const wchar_t* from, const wchar_t* to);
  // Deletes a folder with everything in it; 1 when it is gone. No message.
  int DeleteFolder(const wchar_t* path);

  int IsFolder(const wchar_t* path);
  int IsFile(const wchar_t* path);

  int m_bShowMessage;  // 1 (default): failures show their message box

 protected:
  // Checks that neither path lies on an unmounted card (E-519).
  bool CheckCard(const wchar_t* a, const wchar_t* b);
  bool CheckSpace(const wchar_t* folder, ULONGLONG needed);
  int Fail(int message);

  CString m_strRoot;
  int m_bRootRead;
};
