#include "platform/safe_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "platform/faults.h"
#include "platform/fs.h"

namespace platform {
namespace {

constexpr size_t kWriteChunk = 4096;
// SURVEYCAM_NO_FSYNC=1 starts without fsync (fuzzing runs save per input).
std::atomic<bool> g_durable{std::getenv("SURVEYCAM_NO_FSYNC") == nullptr};

// The open error the file itself would give for a write: a folder or a
// read-only file is refused; 0 when the temporary may stand in for it.
int TargetRefusal(const std::string& host) {
  struct stat st {};
  if (::stat(host.c_str(), &st) != 0) return 0;
  if (S_ISDIR(st.st_mode)) return EISDIR;
  if (::access(host.c_str(), W_OK) != 0) return errno;
  return 0;
}

// Makes the rename itself durable: the folder's entry is flushed too.
void SyncFolder(const std::string& host) {
  if (!g_durable) return;
  const size_t slash = host.find_last_of('/');
  const std::string folder =
      slash == std::string::npos ? "." : host.substr(0, std::max<size_t>(slash, 1));
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

SafeFile::~SafeFile() { Discard(); }

std::wstring SafeFile::TempPath(const wchar_t* path) {
  return std::wstring(path ? path : L"") + L".tmp~";
}

BOOL SafeFile::Open(const wchar_t* path, UINT flags, CFileException* error) {
  Discard();
  failed_ = false;
  const bool replaces = (flags & modeCreate) && !(flags & modeNoTruncate);
  if (!replaces || !path || !*path) return CFile::Open(path, flags, error);
  if (const int refusal = TargetRefusal(fs::HostPath(path))) {
    if (error) *error = CFileException(CFileException::ErrnoToCause(refusal), refusal, path);
    return FALSE;
  }
  const std::wstring temp = TempPath(path);
  if (!CFile::Open(temp.c_str(), flags, error)) {
    // Reports name the file the caller asked for, not the temporary.
    if (error) error->m_strFileName = path;
    return FALSE;
  }
  target_ = path;
  return TRUE;
}

BOOL SafeFile::Write(const void* buffer, UINT count) {
  if (CFile::Write(buffer, count)) return TRUE;
  failed_ = true;
  return FALSE;
}

BOOL SafeFile::Commit() {
  if (!IsOpen()) return FALSE;
  if (target_.empty()) {
    const BOOL flushed =
        !failed_ && !fault::Check("file.flush", fs::HostPath(GetFilePath())).fail && Sync();
    CFile::Close();
    return flushed;
  }
  const std::string host = fs::HostPath(target_.c_str());
  const std::string temp = fs::HostPath(TempPath(target_.c_str()).c_str());
  bool ok = !failed_ && !fault::Check("file.flush", temp).fail && Sync();
  CFile::Close();
  ok =
      ok && !fault::Check("file.rename", host).fail && std::rename(temp.c_str(), host.c_str()) == 0;
  if (!ok) {
    std::remove(temp.c_str());
    target_.clear();
    return FALSE;
  }
  SyncFolder(host);
  target_.clear();
  return TRUE;
}

void SafeFile::Close() { Discard(); }

void SafeFile::SetDurable(bool durable) { g_durable = durable; }

bool SafeFile::Sync() { return !g_durable || Flush(); }

void SafeFile::Discard() {
  CFile::Close();
  if (target_.empty()) return;
  std::remove(fs::HostPath(TempPath(target_.c_str()).c_str()).c_str());
  target_.clear();
}

BOOL SafeFile::WriteAll(const wchar_t* path, const void* bytes, size_t count) {
  SafeFile file;
  if (!file.Open(path, modeCreate | modeWrite)) return FALSE;
  const auto* at = static_cast<const char*>(bytes);
  // Chunked as a buffered stream writes, so a disk that fills up part-way
  // is met part-way.
  for (size_t done = 0; done < count;) {
    const size_t n = std::min(kWriteChunk, count - done);
    if (!file.Write(at + done, UINT(n))) return FALSE;
    done += n;
  }
  return file.Commit();
}

}  // namespace platform
