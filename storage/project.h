#pragma once
// CProject: an image-measurement project, one folder under the project root
// (by default the device path "\IMG_MAIN\project" in the instrument's main
// memory; the storage card is where projects are carried to and from, with
// CRTCard::CopyFolder / MoveFolder). A project folder holds:
//
//   project.hdr    the index: the project's name, its files and photographs
//   project.bkh    a copy of the index, written after it; a damaged or
//                  missing index is restored from it when the project opens
//   control.csv    control points: Name, X, Y, Z (point file, metres)
//   camera.cmr     the camera (camera file), when one was set
//   result.csv     points intersected from the photographs
//   <photo>.jpg    each photograph, copied in
//   <photo>.imc    its image coordinates (image-coordinate file, pixels)
//   <photo>.DLT    its eleven DLT parameters with control residuals
//
// The index is single-byte text with tab-separated fields:
//   IMGPRJ	1
//   name	<project name>
//   file	<role>	<file name>        control, camera, result
//   photo	<name>	<jpg>	<imc>	<DLT>
//   check	<CRC-32 of every byte before this line, 8 hex digits>
// The check line makes a torn or edited index detectable. Index and backup
// are each written under a temporary name and renamed into place, index
// first, so one of them is always complete.
//
// Results are 1/0. Operations that the operator starts show a message box
// (caption "ERROR") on failure when m_bShowMessage is 1: E-507 project not
// found, E-508 index and backup both unreadable, E-512 a file cannot be
// written, E-521 the folder cannot be made, E-520 a photograph cannot be
// copied in. Solving and intersecting show nothing.
#include "camera/camera.h"
#include "geometry/xyz.h"
#include "photogrammetry/dlt.h"
#include "photogrammetry/space_intersection.h"
#include "platform/afx_string.h"
#include "platform/export.h"
#include "platform/kvo_array.h"
#include "platform/size.h"

// One photograph of a project: its name and the names of its files.
struct PROJECT_PHOTO {
  CString Name;
  CString Jpeg;
  CString Imc;
  CString Dlt;
};

class SURVEYCAM_API CProject {
 public:
  CProject();
  virtual ~CProject();

  // The folder that holds the projects ("\IMG_MAIN\project" by default).
  void SetRootFolder(const wchar_t* folder);
  const CString& GetRootFolder() const { return m_strRoot; }

  // Makes the project folder (and the root when missing), writes an empty
  // index and its backup, and opens the project. 0 when the name is not a
  // plain folder name or the project exists.
  int Create(const wchar_t* name);
  // Opens a project; a damaged or missing index is restored from the backup.
  int Open(const wchar_t* name);
  void Close();
  int IsOpen() const { return m_bOpen; }
  // Names of the projects under the root (folders holding an index or a
  // backup), sorted. 1 (an empty list when the root does not exist).
  int List(CStringArray& names);
  // Renames a project folder; the open project follows its new name.
  int Rename(const wchar_t* from, const wchar_t* to);
  // Deletes a project folder with all its files; closes it when open.
  int Delete(const wchar_t* name);
  // Rewrites the open project's index from its backup.
  int RestoreIndex();

  const CString& GetName() const { return m_strName; }
  CString GetFolder() const;
  // Device path of a file of the open project.
  CString GetFilePath(const wchar_t* leaf) const;

  // Copies a JPEG picture into the project as photograph `name` (empty: the
  // next free "P001", "P002", ...), returned in `name`.
  int AddPhoto(const wchar_t* jpegPath, CString& name);
  int GetPhotoCount() const { return m_Photos.GetSize(); }
  const PROJECT_PHOTO& GetPhoto(int i) const { return m_Photos[i]; }
  // Index of a photograph by name, -1 when there is none.
  int FindPhoto(const wchar_t* name) const;
  // Deletes a photograph and its files.
  int RemovePhoto(const wchar_t* name);

  // Image coordinates of a photograph (pixels: X = x, Y = y).
  int SetImagePoints(const wchar_t* photo, CSize& size, CKvoArray<CXYZ, CXYZ&>& points);
  int GetImagePoints(const wchar_t* photo, CSize& size, CKvoArray<CXYZ, CXYZ&>& points);
  int SetControlPoints(CKvoArray<CXYZ, CXYZ&>& points);
  int GetControlPoints(CKvoArray<CXYZ, CXYZ&>& points);
  int SetCamera(CCamera& camera);
  int GetCamera(CCamera& camera);

  // Solves a photograph's DLT from the control points measured on it (at
  // least six, not in one plane) and writes its ".DLT" file.
  int SolveDLT(const wchar_t* photo, CDLT& dlt);
  int GetDLT(const wchar_t* photo, CDLT& dlt);
  // Intersects one point from every solved photograph that measured it (two
  // or more); `detail` (optional) receives the rays and residuals. Sets
  // point's Name, X, Y, Z, Aux1 = RMS image residual, Num = photographs used.
  int Intersect(const wchar_t* name, CXYZ& point, CSpaceIntersection* detail = nullptr);
  // Intersects every point that is not a control point and was measured on
  // two or more solved photographs; writes them to result.csv. 1 even when
  // none could be intersected.
  int IntersectAll(CKvoArray<CXYZ, CXYZ&>& points);
  int GetResultPoints(CKvoArray<CXYZ, CXYZ&>& points);

  // Loads index text into the project (name, files, photographs) when it is
  // complete and its check matches; 0 and nothing changed otherwise.
  int ParseIndex(const char* text, int length);

  int m_bShowMessage;  // 1 (default): failures show their message box

 protected:
  int WriteIndex();
  int Fail(int message);
  CString ProjectFolder(const wchar_t* name) const;
  bool RequireOpen() const { return m_bOpen != 0; }

  CString m_strRoot;
  CString m_strName;
  int m_bOpen;
  int m_bHasCamera;
  CKvoArray<PROJECT_PHOTO, const PROJECT_PHOTO&> m_Photos;
};
