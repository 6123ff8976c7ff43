#pragma once
// Small helpers on device paths for the storage classes (internal to the library).
// Paths use backslashes; a trailing backslash is ignored.
#include <string>
#include <vector>

#include "platform/afx_string.h"
#include "platform/fs.h"
#include "platform/handles.h"
#include "platform/types.h"

namespace platform {

inline CString JoinPath(const CString& folder, const wchar_t* name) {
  CString path = folder;
  if (!path.IsEmpty() && path[path.GetLength() - 1] != L'\\') path += L"\\";
  path += name;
  return path;
}

inline CString TrimSeparator(const wchar_t* path) {
  CString text = path ? path : L"";
  while (text.GetLength() > 1 && text[text.GetLength() - 1] == L'\\')
    text = text.Left(text.GetLength() - 1);
  return text;
}

// Folder part of a path ("" for a bare name, "\" for a name in the root).
inline CString ParentPath(const wchar_t* path) {
  CString text = TrimSeparator(path);
  int cut = text.ReverseFind(L'\\');
  if (cut < 0) return CString();
  if (cut == 0) return CString(L"\\");
  return text.Left(cut);
}

inline CString LeafName(const wchar_t* path) {
  CString text = TrimSeparator(path);
  int cut = text.ReverseFind(L'\\');
  return cut < 0 ? text : text.Mid(cut + 1);
}

inline bool PathIsFolder(const wchar_t* path) {
  DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

inline bool PathIsFile(const wchar_t* path) {
  DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

struct FolderEntry {
  CString name;
  bool folder = false;
  ULONGLONG size = 0;
};

// Whether a search handle stands for a search that failed, as opposed to
// one that matched nothing.
inline bool SearchFailed(HANDLE find) {
  return (find == INVALID_HANDLE_VALUE || find == nullptr) &&
         GetLastError() != ERROR_FILE_NOT_FOUND;
}

// Adds the entries of `folder` that match `pattern` ("." and ".." left out)
// to `entries`. False when the folder cannot be searched: a tree walked with
// a folder left out would pass for complete.
inline bool ListFolder(const CString& folder,
                       const wchar_t* pattern,
                       std::vector<FolderEntry>& entries) {
  WIN32_FIND_DATAW found{};
  HANDLE find = FindFirstFileW(JoinPath(folder, pattern), &found);
  if (SearchFailed(find)) return false;
  if (find == INVALID_HANDLE_VALUE || find == nullptr) return true;
  do {
    std::wstring name = found.cFileName;
    if (name == L"." || name == L"..") continue;
    FolderEntry entry;
    entry.name = name.c_str();
    entry.folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.size = (ULONGLONG(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
    entries.push_back(entry);
  } while (FindNextFileW(find, &found));
  FindClose(find);
  return true;
}

// Deletes a folder and everything in it; true when it is gone.
inline bool DeleteTree(const CString& folder) {
  std::vector<FolderEntry> entries;
  if (!ListFolder(folder, L"*", entries)) return false;
  for (const FolderEntry& entry : entries) {
    CString path = JoinPath(folder, entry.name);
    if (entry.folder ? !DeleteTree(path) : !DeleteFileW(path)) return false;
  }
  return RemoveDirectoryW(folder) != FALSE;
}

}  // namespace platform
