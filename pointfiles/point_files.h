#pragma once
// Point files: lists of CXYZ stored as single-byte (UTF-8) text.
//
//  - comma-separated point file: "Name,X,Y,Z" a line ("%.6lf"); on reading a
//    line may carry up to six columns: Name, X, Y, Z, Code, Num;
//  - image-coordinate file (".imc"): title line, "width height", point count,
//    one "Name X Y" line a point ("%20.10lf"), closing "0";
//  - scan file: append-only, one "Name,X,Y,Z[,Code]" line a measured point.
//
// Numbers are written and read with '.' as the decimal point whatever the
// process locale. A written line is at most 255 bytes (longer lines are cut).
// A read line may be at most kPointFileMaxLine bytes; a longer line fails the
// read. All functions return 1 on success and 0 on failure; a null or empty
// path fails at once. When a file cannot be opened because access is refused
// or it is in use (causes 5 and 11) the operator is told with
// ShowAccessRefused; other open failures are silent.
#include "geometry/xyz.h"
#include "platform/export.h"
#include "platform/file.h"
#include "platform/kvo_array.h"
#include "platform/kvo_string.h"
#include "platform/size.h"

// Longest line, in bytes without its line feed, that the readers accept.
inline constexpr int kPointFileMaxLine = 1024;

// Writes Name, X, Y, Z of every point. append = 1 adds to the end of an
// existing file (which must exist); otherwise the file is created or truncated.
SURVEYCAM_API int WriteCSVFile(const wchar_t* path, CKvoArray<CXYZ, CXYZ&>& points, int append);
// Empties `points`, then reads the file. A missing file fails with
// mustExist = 1 and is otherwise created empty (result 1, no points). Lines
// that are empty or have an empty first column are skipped.
SURVEYCAM_API int ReadCSVFile(const wchar_t* path, CKvoArray<CXYZ, CXYZ&>& points, int mustExist);
// Writes the title, the picture size and the named points. The count line
// counts the named points but only the first `count` array entries are
// walked, so unnamed points in front cost named points at the end.
SURVEYCAM_API int WriteImcFile(const wchar_t* path,
                               const wchar_t* title,
                               CSize& size,
                               CKvoArray<CXYZ, CXYZ&>& points);
// Empties `points` and reads title, picture size and points (Name, X, Y).
// Fails when a header line is missing or a point line is missing; the points
// read so far stay in the array. A missing file fails with mustExist = 1 and
// is otherwise created empty (and the read then fails).
SURVEYCAM_API int ReadImcFile(const wchar_t* path,
                              CKvoStringT<wchar_t>& title,
                              CSize& size,
                              CKvoArray<CXYZ, CXYZ&>& points,
                              int mustExist);
// Opens (creating if needed, never truncating) `file` for writing at its end.
// On failure shows a box captioned "ScanFileOpen" and returns 0.
SURVEYCAM_API int ScanFileOpen(CFile* file, const wchar_t* path);
// Closes `file`; always 1.
SURVEYCAM_API int ScanFileClose(CFile* file);
// Appends one point: "Name,X,Y,Z" or, with a Code, "Name,X,Y,Z,Code".
SURVEYCAM_API int ScanFileAdd(const wchar_t* path, const CXYZ& point);
// Appends one point with a note: "Name,X,Y,Z,Code,Num,note".
SURVEYCAM_API int ScanFileAdd(const wchar_t* path, const CXYZ& point, const wchar_t* note);
// Appends every point of the array, as the one-point form does.
SURVEYCAM_API int ScanFileAdd(const wchar_t* path, CKvoArray<CXYZ, CXYZ&>& points);
// Sets `name` to the file name of `path` without folder and extension; 1
// (0 only for a null or empty path, `name` untouched).
SURVEYCAM_API int EditFileName(const wchar_t* path, CKvoStringT<wchar_t>& name);
