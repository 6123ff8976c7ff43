// CRTCard: card root, free space, listings and safe transfers.
#include "storage/rt_card.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/fs.h"
#include "platform/message_table.h"
#include "platform/path_util.h"
#include "platform/registry.h"
#include "platform/safe_file.h"

namespace {

using platform::FolderEntry;
using platform::JoinPath;

constexpr UINT kCopyChunk = 32 * 1024;

// FILETIME (100 ns since 1601-01-01) to a calendar date, UTC, whole seconds.
SYSTEMTIME ToSystemTime(const FILETIME& ft) {
  const uint64_t ticks = (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
  const int64_t seconds = int64_t(ticks / 10000000ULL) - 11644473600LL;
  return platform::clock::ToSystemTime(seconds * 1000);
}

// Copies one file in a safe save (platform::SafeFile): chunk by chunk into a
// temporary name beside `to`, renamed over `to` only once every byte has
// arrived and the length matches. False on any open, read, write, flush or
// rename failure; nothing of the copy is left then and an existing `to` is
// as it was.
bool CopyOneFile(const wchar_t* from, const wchar_t* to) {
  CFile source;
  if (!source.Open(from, CFile::modeRead | CFile::shareDenyWrite)) return false;
  platform::SafeFile target;
  if (!target.Open(to, CFile::modeCreate | CFile::modeWrite)) return false;
  const ULONGLONG length = source.GetLength();
  std::vector<BYTE> chunk(kCopyChunk);
  for (ULONGLONG copied = 0; copied < length;) {
    const UINT want = UINT(std::min<ULONGLONG>(kCopyChunk, length - copied));
    if (source.Read(chunk.data(), want) != want || !target.Write(chunk.data(), want)) return false;
    copied += want;
  }
  return target.GetLength() == length && target.Commit();
}

struct TreeEntry {
  CString relative;  // path below the copied folder
  bool folder = false;
};

// Every entry under `folder`, each folder before its contents; adds the file
// sizes to `bytes`. False when a folder of the tree cannot be searched.
bool WalkTree(const CString& folder,
              const CString& relative,
              std::vector<TreeEntry>& out,
              ULONGLONG& bytes) {
  std::vector<FolderEntry> entries;
  if (!platform::ListFolder(JoinPath(folder, relative), L"*", entries)) return false;
  for (const FolderEntry& entry : entries) {
    CString path = relative.IsEmpty() ? entry.name : JoinPath(relative, entry.name);
    out.push_back({path, entry.folder});
    if (entry.folder) {
      if (!WalkTree(folder, path, out, bytes)) return false;
    } else {
      bytes += entry.size;
    }
  }
  return true;
}

// Starts-with on whole path components.
bool IsUnder(const CString& path, const CString& folder) {
  if (folder.IsEmpty() || path.GetLength() < folder.GetLength()) return false;
  if (path.Left(folder.GetLength()) != folder) return false;
  return path.GetLength() == folder.GetLength() || folder == L"\\" ||
         path[folder.GetLength()] == L'\\';
}

}  // namespace

CRTCard::CRTCard() : m_bShowMessage(1), m_bRootRead(0) {}

CRTCard::~CRTCard() = default;

int CRTCard::ReadCardRoot() {
  m_bRootRead = 1;
  m_strRoot.Empty();
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"\\SYSTEM\\QZ7mInit\\Memory", 0, KEY_READ, &key) !=
      ERROR_SUCCESS)
    return 0;
  wchar_t buffer[256] = {};
  DWORD type = 0;
  DWORD size =
      DWORD(std::size(buffer) - 1) * platform::registry::kCharBytes;  // the last one stays 0
  LONG result = RegQueryValueExW(
      key, L"PCMCIAFolder", nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
  RegCloseKey(key);
  if (result != ERROR_SUCCESS || type != REG_SZ) return 0;
  m_strRoot = platform::TrimSeparator(buffer);
  return 1;
}

const CString& CRTCard::GetCardRoot() {
  if (!m_bRootRead) ReadCardRoot();
  return m_strRoot;
}

void CRTCard::SetCardRoot(const wchar_t* root) {
  m_strRoot = platform::TrimSeparator(root);
  m_bRootRead = 1;
}

int CRTCard::IsMounted() {
  const CString& root = GetCardRoot();
  return !root.IsEmpty() && platform::PathIsFolder(root) ? 1 : 0;
}

int CRTCard::IsCardPath(const wchar_t* path) {
  if (!path) return 0;
  return IsUnder(platform::TrimSeparator(path), GetCardRoot()) ? 1 : 0;
}

int CRTCard::IsFolder(const wchar_t* path) { return path && platform::PathIsFolder(path) ? 1 : 0; }

int CRTCard::IsFile(const wchar_t* path) { return path && platform::PathIsFile(path) ? 1 : 0; }

int CRTCard::Fail(int message) {
  if (m_bShowMessage) platform::ShowError(message);
  return 0;
}

bool CRTCard::CheckCard(const wchar_t* a, const wchar_t* b) {
  bool on_card = (a && IsCardPath(a)) || (b && IsCardPath(b));
  if (on_card && !IsMounted()) {
    Fail(platform::kMsgNotMounted);
    return false;
  }
  return true;
}

bool CRTCard::CheckSpace(const wchar_t* folder, ULONGLONG needed) {
  ULARGE_INTEGER available{};
  if (!GetDiskFreeSpaceExW(folder, &available, nullptr, nullptr) || available.QuadPart < needed) {
    Fail(platform::kMsgCardFull);
    return false;
  }
  return true;
}

int CRTCard::GetFreeSpace(const wchar_t* path, ULONGLONG& freeBytes, ULONGLONG& totalBytes) {
  CString where = path ? CString(path) : GetCardRoot();
  if (where.IsEmpty() || !CheckCard(where, nullptr)) return 0;
  ULARGE_INTEGER available{}, total{};
  if (!GetDiskFreeSpaceExW(where, &available, &total, nullptr)) return 0;
  freeBytes = available.QuadPart;
  totalBytes = total.QuadPart;
  return 1;
}

int CRTCard::GetFileList(const wchar_t* folder,
                         const wchar_t* pattern,
                         CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&>& list) {
  list.RemoveAll();
  if (!folder || !*folder || !CheckCard(folder, nullptr)) return 0;
  if (!platform::PathIsFolder(folder)) return 0;
  std::vector<RTCARD_FILE_INFO> found;
  WIN32_FIND_DATAW data{};
  const wchar_t* match = pattern && *pattern ? pattern : L"*";
  HANDLE find = FindFirstFileW(JoinPath(platform::TrimSeparator(folder), match), &data);
  if (platform::SearchFailed(find)) return 0;  // not the same as an empty folder
  if (find != INVALID_HANDLE_VALUE && find != nullptr) {
    do {
      std::wstring name = data.cFileName;
      if (name == L"." || name == L"..") continue;
      RTCARD_FILE_INFO info;
      info.Name = name.c_str();
      info.IsFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
      info.Size = info.IsFolder ? 0 : (ULONGLONG(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
      info.Time = ToSystemTime(data.ftLastWriteTime);
      found.push_back(info);
    } while (FindNextFileW(find, &data));
    FindClose(find);
  }
  std::sort(
      found.begin(), found.end(), [](const auto& a, const auto& b) { return a.Name < b.Name; });
  for (RTCARD_FILE_INFO& info : found) list.Add(info);
  return 1;
}

int CRTCard::GetFolderSize(const wchar_t* folder, ULONGLONG& bytes) {
  if (!folder || !platform::PathIsFolder(folder)) return 0;
  std::vector<TreeEntry> entries;
  ULONGLONG sum = 0;
  if (!WalkTree(platform::TrimSeparator(folder), CString(), entries, sum)) return 0;
  bytes = sum;
  return 1;
}

int CRTCard::CopyFile(const wchar_t* from, const wchar_t* to) {
  if (!from || !to || !*from || !*to) return Fail(platform::kMsgCopyError);
  if (!CheckCard(from, to)) return 0;
  CString source = platform::TrimSeparator(from), target = platform::TrimSeparator(to);
  if (source == target || !platform::PathIsFile(source) ||
      !platform::PathIsFolder(platform::ParentPath(target)) || platform::PathIsFolder(target)) {
    return Fail(platform::kMsgCopyError);
  }
  ULONGLONG size = 0;
  {
    CFile file;
    if (!file.Open(source, CFile::modeRead | CFile::shareDenyNone))
      return Fail(platform::kMsgCopyError);
    size = file.GetLength();
  }
  if (!CheckSpace(platform::ParentPath(target), size)) return 0;
  if (!CopyOneFile(source, target)) return Fail(platform::kMsgCopyError);
  return 1;
}

int CRTCard::MoveFile(const wchar_t* from, const wchar_t* to) {
  // A file the move replaces is renamed aside until the source is gone, so a
  // move that cannot finish leaves both files as they were.
  const CString target = to ? platform::TrimSeparator(to) : CString();
  const CString kept = target + L"~";
  const bool replaces =
      from && platform::PathIsFile(target) && platform::TrimSeparator(from) != target;
  if (replaces && !MoveFileW(target, kept)) return Fail(platform::kMsgCopyError);
  const bool copied = CopyFile(from, to) != 0;
  const bool moved = copied && DeleteFileW(from);
  if (copied && !moved) DeleteFileW(target);
  if (replaces) moved ? DeleteFileW(kept) : MoveFileW(kept, target);
  if (copied && !moved) return Fail(platform::kMsgCopyError);
  return moved ? 1 : 0;
}

int CRTCard::CopyFolder(const wchar_t* from, const wchar_t* to) {
  if (!from || !to || !*from || !*to) return Fail(platform::kMsgCopyError);
  if (!CheckCard(from, to)) return 0;
  CString source = platform::TrimSeparator(from), target = platform::TrimSeparator(to);
  if (!platform::PathIsFolder(source) || GetFileAttributesW(target) != INVALID_FILE_ATTRIBUTES ||
      !platform::PathIsFolder(platform::ParentPath(target)) || IsUnder(target, source)) {
    return Fail(platform::kMsgCopyError);
  }
  std::vector<TreeEntry> entries;
  ULONGLONG bytes = 0;
  if (!WalkTree(source, CString(), entries, bytes)) return Fail(platform::kMsgCopyError);
  if (!CheckSpace(platform::ParentPath(target), bytes)) return 0;
  bool ok = CreateDirectoryW(target, nullptr) != FALSE;
  for (size_t i = 0; ok && i < entries.size(); ++i) {
    CString to_path = JoinPath(target, entries[i].relative);
    ok = entries[i].folder ? CreateDirectoryW(to_path, nullptr) != FALSE
                           : CopyOneFile(JoinPath(source, entries[i].relative), to_path);
  }
  if (!ok) {
    if (platform::PathIsFolder(target)) platform::DeleteTree(target);
    return Fail(platform::kMsgCopyError);
  }
  return 1;
}

int CRTCard::MoveFolder(const wchar_t* from, const wchar_t* to) {
  if (!CopyFolder(from, to)) return 0;
  if (!platform::DeleteTree(platform::TrimSeparator(from))) return Fail(platform::kMsgCopyError);
  return 1;
}

int CRTCard::DeleteFolder(const wchar_t* path) {
  if (!path || !platform::PathIsFolder(path)) return 0;
  return platform::DeleteTree(platform::TrimSeparator(path)) ? 1 : 0;
}
