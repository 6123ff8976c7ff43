#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/faults.h"
#include "platform/fs.h"

namespace {
std::atomic<long> g_open_files{0};
}

int CFileException::ErrnoToCause(int error) {
  switch (error) {
    case ENOENT:
      return fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
      return badPath;
    case EMFILE:
    case ENFILE:
      return tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return accessDenied;
    case EBUSY:
    case ETXTBSY:
      return sharingViolation;
    case ENOSPC:
      return diskFull;
    case EIO:
      return hardIO;
    default:
      return genericException;
  }
}

CFile::~CFile() { Close(); }

BOOL CFile::Open(const wchar_t* path, UINT flags, CFileException* error) {
  Close();
  if (error) *error = CFileException(CFileException::none, 0, path);
  if (!path || !*path) {
    if (error) error->m_cause = CFileException::badPath;
    return FALSE;
  }
  std::string host = platform::fs::HostPath(path);
  if (auto hit = platform::fault::Check("file.open", host); hit.fail) {
    if (error) {
      error->m_cause = hit.code ? hit.code : CFileException::accessDenied;
      error->m_lOsError = EACCES;
    }
    return FALSE;
  }
  int oflags = 0;
  switch (flags & 3) {
    case modeWrite:
      oflags = O_WRONLY;
      break;
    case modeReadWrite:
      oflags = O_RDWR;
      break;
    default:
      oflags = O_RDONLY;
  }
  if (flags & modeCreate) {
    oflags |= O_CREAT;
    if (!(flags & modeNoTruncate)) oflags |= O_TRUNC;
  }
  int fd = ::open(host.c_str(), oflags | O_CLOEXEC, 0666);
  if (fd < 0) {
    if (error) {
      error->m_cause = CFileException::ErrnoToCause(errno);
      error->m_lOsError = errno;
    }
    return FALSE;
  }
  struct stat st {};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    if (error) error->m_cause = CFileException::accessDenied;
    return FALSE;
  }
  fd_ = fd;
  path_ = path;
  ++g_open_files;
  return TRUE;
}

UINT CFile::Read(void* buffer, UINT count) {
  if (fd_ < 0 || !buffer || count == 0) return 0;
  if (platform::fault::Check("file.read", platform::fs::HostPath(path_)).fail) return 0;
  UINT done = 0;
  auto* out = static_cast<char*>(buffer);
  while (done < count) {
    ssize_t n = ::read(fd_, out + done, count - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += UINT(n);
  }
  return done;
}

BOOL CFile::Write(const void* buffer, UINT count) {
  if (fd_ < 0) return FALSE;
  if (count == 0) return TRUE;
  if (!buffer) return FALSE;
  if (platform::fault::Check("file.write", platform::fs::HostPath(path_)).fail) return FALSE;
  UINT done = 0;
  const auto* in = static_cast<const char*>(buffer);
  while (done < count) {
    ssize_t n = ::write(fd_, in + done, count - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return FALSE;
    done += UINT(n);
  }
  return TRUE;
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
  if (fd_ < 0) return 0;
  int whence = from == current ? SEEK_CUR : from == end ? SEEK_END : SEEK_SET;
  off_t pos = ::lseek(fd_, off_t(offset), whence);
  return pos < 0 ? 0 : ULONGLONG(pos);
}

ULONGLONG CFile::GetLength() const {
  struct stat st {};
  if (fd_ < 0 || ::fstat(fd_, &st) != 0) return 0;
  return ULONGLONG(st.st_size);
}

ULONGLONG CFile::GetPosition() const {
  if (fd_ < 0) return 0;
  off_t pos = ::lseek(fd_, 0, SEEK_CUR);
  return pos < 0 ? 0 : ULONGLONG(pos);
}

BOOL CFile::Flush() { return fd_ >= 0 && ::fsync(fd_) == 0; }

void CFile::Close() {
  if (fd_ < 0) return;
  ::close(fd_);
  fd_ = -1;
  --g_open_files;
}

long CFile::OpenFiles() { return g_open_files.load(); }
