#pragma once
// Fault injection: tests arm a named point and the platform call that passes
// that point fails as the real system call would. Points used by platform/:
//   "file.open" "file.read" "file.write" "file.seek"      CFile
//   "file.flush" "file.rename"                            SafeFile::Commit
//   "fs.create_directory" "fs.free_space" "fs.find" "fs.delete" "fs.move"
//   "registry.open" "registry.query" "registry.close"      registry store
//   "module.load" "module.proc"                             LoadLibraryW / GetProcAddressW
//   "alloc"                                                 large library allocations
// image/ adds "exif.build" (a snapshot's Exif metadata); device modules add
// their own ("cap.<request>", "eep.read.<item>", ...).
#include <string>

#include "platform/export.h"

namespace platform::fault {

struct Hit {
  bool fail = false;
  int code = 0;  // optional error detail given to Arm (e.g. a CFileException cause)
};

// Fails the point after `skip` calls have passed, `count` times (-1: every
// time). When `match` is not empty only calls whose subject (usually a path)
// contains it are counted.
SURVEYCAM_API void Arm(const std::string& point,
                       int skip = 0,
                       int count = 1,
                       int code = 0,
                       const std::string& match = "");
SURVEYCAM_API void Disarm(const std::string& point);
SURVEYCAM_API void DisarmAll();
// Asks whether this call of `point` must fail; counts the call.
SURVEYCAM_API Hit Check(const char* point, const std::string& subject = "");
// How often the point was reached since the last DisarmAll/ResetCounts.
SURVEYCAM_API int Calls(const std::string& point);
SURVEYCAM_API void ResetCounts();

}  // namespace platform::fault
