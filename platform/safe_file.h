#pragma once
// SafeFile: a CFile for writers that replace a whole file. Opening with
// modeCreate (and without modeNoTruncate) writes to "<name>.tmp~" in the same
// folder; Commit flushes it to the disk and renames it over the old file, so a
// power cut or a failing write part-way leaves the old file exactly as it was.
// Without Commit (an early return, a failed write) the temporary file is
// removed when the object is closed or destroyed.
//
// Opening without modeCreate, or with modeNoTruncate, opens the file itself as
// CFile does (append and update writers); Commit then only flushes.
//
// Fault points (platform/faults.h), besides CFile's own "file.open" and
// "file.write" (which see the temporary path): "file.flush" and
// "file.rename", both in Commit.
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/file.h"

namespace platform {

class SURVEYCAM_API SafeFile : public CFile {
 public:
  SafeFile() = default;
  ~SafeFile() override;

  // Refuses, as opening the file itself would, a target that is a folder or
  // that exists and may not be written (cause accessDenied).
  BOOL Open(const wchar_t* path, UINT flags, CFileException* error = nullptr) override;
  // A failed write spoils the save: Commit will refuse it.
  BOOL Write(const void* buffer, UINT count) override;
  // Makes the written bytes the file's contents. FALSE (old file kept, no
  // temporary left) when a write failed, the flush failed or the rename failed.
  BOOL Commit();
  // Without Commit: abandons the save and removes the temporary file.
  void Close() override;

  // The temporary name used for `path` ("<path>.tmp~").
  static std::wstring TempPath(const wchar_t* path);
  // Replaces the file at `path` with `bytes` in one safe save.
  static BOOL WriteAll(const wchar_t* path, const void* bytes, size_t count);
  static BOOL WriteAll(const wchar_t* path, std::string_view bytes) {
    return WriteAll(path, bytes.data(), bytes.size());
  }
  // Whether Commit waits until the bytes and the rename are on the disk
  // (fsync). On by default; test suites that save thousands of times may
  // switch it off (the order of write, flush and rename stays the same);
  // the environment variable SURVEYCAM_NO_FSYNC=1 starts with it off.
  static void SetDurable(bool durable);

 private:
  void Discard();
  bool Sync();

  std::wstring target_;  // empty when the file itself is open (no temporary)
  bool failed_ = false;
};

}  // namespace platform
