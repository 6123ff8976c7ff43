// CProject: project folders, their index and backup, photographs, DLT
// solutions and intersections.
#include "storage/project.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/fs.h"
#include "platform/message_table.h"
#include "platform/path_util.h"
#include "platform/safe_file.h"
#include "platform/text.h"
#include "platform/text_file.h"
#include "pointfiles/point_files.h"
#include "storage/rt_card.h"

namespace {

constexpr const wchar_t* kIndex = L"project.hdr";
constexpr const wchar_t* kBackup = L"project.bkh";
constexpr const wchar_t* kControl = L"control.csv";
constexpr const wchar_t* kCamera = L"camera.cmr";
constexpr const wchar_t* kResult = L"result.csv";
constexpr int kMaxPhotos = 10000;

// A name that can be a folder or file name of its own: no separators,
// wildcards or control characters, not "." or "..", at most 64 characters.
bool IsPlainName(const std::wstring& name) {
  if (name.empty() || name.size() > 64 || name == L"." || name == L"..") return false;
  for (wchar_t c : name) {
    if (c < 0x20 || std::wstring_view(L"\\/:*?\"<>|").find(c) != std::wstring_view::npos)
      return false;
  }
  return true;
}

std::string Utf8(const CString& text) { return platform::WideToUtf8(text.c_str()); }

CString Wide(std::string_view text) {
  return CString(platform::Utf8ToWide(std::string(text)).c_str());
}

std::string FormatIndex(const CString& name,
                        bool camera,
                        const CKvoArray<PROJECT_PHOTO, const PROJECT_PHOTO&>& photos) {
  std::string text = "IMGPRJ\t1\nname\t" + Utf8(name) + "\n";
  text += "file\tcontrol\t" + Utf8(kControl) + "\n";
  if (camera) text += "file\tcamera\t" + Utf8(kCamera) + "\n";
  text += "file\tresult\t" + Utf8(kResult) + "\n";
  for (const PROJECT_PHOTO& p : photos)
    text += "photo\t" + Utf8(p.Name) + "\t" + Utf8(p.Jpeg) + "\t" + Utf8(p.Imc) + "\t" +
            Utf8(p.Dlt) + "\n";
  text += platform::FormatA("check\t%08X\n", platform::Crc32(text));
  return text;
}

PROJECT_PHOTO PhotoFiles(const CString& name) {
  return {name, name + L".jpg", name + L".imc", name + L".DLT"};
}

// A photograph with its DLT solved and its image points, as read once for a
// run of intersections.
struct SolvedPhoto {
  CDLT dlt;
  CKvoArray<CXYZ, CXYZ&> image;
};

// Reads every solved photograph. False when a photograph's files are there
// but cannot be read: a point from fewer photographs than measured it would
// pass for a complete one.
bool LoadSolvedPhotos(CProject& project, std::vector<SolvedPhoto>& solved) {
  for (int i = 0; i < project.GetPhotoCount(); ++i) {
    const PROJECT_PHOTO& photo = project.GetPhoto(i);
    if (!platform::PathIsFile(project.GetFilePath(photo.Dlt)) ||
        !platform::PathIsFile(project.GetFilePath(photo.Imc)))
      continue;
    SolvedPhoto entry;
    CSize size;
    if (!project.GetDLT(photo.Name, entry.dlt) ||
        !project.GetImagePoints(photo.Name, size, entry.image))
      return false;
    solved.push_back(std::move(entry));
  }
  return true;
}

// Adds the ray of every solved photograph that measured `name`.
void GatherRays(const std::vector<SolvedPhoto>& solved,
                const wchar_t* name,
                CSpaceIntersection& rays) {
  for (const SolvedPhoto& photo : solved) {
    for (const CXYZ& p : photo.image) {
      if (p.Name == name) {
        rays.Add(photo.dlt, p.X, p.Y);
        break;
      }
    }
  }
}

// The point where the rays meet, with its RMS image residual and ray count.
bool SolveRays(CSpaceIntersection& rays, const wchar_t* name, CXYZ& point) {
  CXYZ solved(name, 0.0, 0.0, 0.0);
  if (!rays.Solve(solved)) return false;
  solved.Aux1 = rays.m_dSigma;
  solved.Num = rays.GetCount();
  point = solved;
  return true;
}

}  // namespace

CProject::CProject()
    : m_bShowMessage(1), m_strRoot(L"\\IMG_MAIN\\project"), m_bOpen(0), m_bHasCamera(0) {}

CProject::~CProject() = default;

void CProject::SetRootFolder(const wchar_t* folder) { m_strRoot = platform::TrimSeparator(folder); }

int CProject::Fail(int message) {
  if (m_bShowMessage) platform::ShowError(message);
  return 0;
}

CString CProject::ProjectFolder(const wchar_t* name) const {
  return platform::JoinPath(m_strRoot, name);
}

CString CProject::GetFolder() const { return ProjectFolder(m_strName); }

CString CProject::GetFilePath(const wchar_t* leaf) const {
  return platform::JoinPath(GetFolder(), leaf);
}

void CProject::Close() {
  m_bOpen = 0;
  m_bHasCamera = 0;
  m_strName.Empty();
  m_Photos.RemoveAll();
}

int CProject::WriteIndex() {
  std::string text = FormatIndex(m_strName, m_bHasCamera != 0, m_Photos);
  if (!platform::SafeFile::WriteAll(GetFilePath(kIndex), text))
    return Fail(platform::kMsgFileWrite);
  if (!platform::SafeFile::WriteAll(GetFilePath(kBackup), text)) {
    // The caller keeps its previous state on 0: the index goes back to what
    // the untouched backup holds, so the next open does not see a change
    // that was reported as failed.
    std::string previous;
    if (platform::ReadWholeFile(GetFilePath(kBackup), previous))
      platform::SafeFile::WriteAll(GetFilePath(kIndex), previous);
    return Fail(platform::kMsgFileWrite);
  }
  return 1;
}

int CProject::Create(const wchar_t* name) {
  if (!name || !IsPlainName(name)) return Fail(platform::kMsgFolderError);
  // Make the root folder and its missing parents, outermost first.
  std::vector<CString> missing;
  for (CString part = m_strRoot; part.GetLength() > 1 && !platform::PathIsFolder(part);
       part = platform::ParentPath(part))
    missing.push_back(part);
  for (auto it = missing.rbegin(); it != missing.rend(); ++it) CreateDirectoryW(*it, nullptr);
  CString folder = ProjectFolder(name);
  if (GetFileAttributesW(folder) != INVALID_FILE_ATTRIBUTES || !CreateDirectoryW(folder, nullptr))
    return Fail(platform::kMsgFolderError);
  Close();
  m_strName = name;
  m_bOpen = 1;
  if (!WriteIndex()) {
    platform::DeleteTree(folder);
    Close();
    return 0;
  }
  return 1;
}

int CProject::ParseIndex(const char* text, int length) {
  if (!text || length < 0) return 0;
  std::string_view all(text, size_t(length));
  size_t check_at = all.rfind("check\t");
  if (check_at == std::string_view::npos || (check_at > 0 && all[check_at - 1] != '\n')) return 0;
  std::string_view check_line = all.substr(check_at);
  if (check_line != platform::FormatA("check\t%08X\n", platform::Crc32(all.substr(0, check_at))))
    return 0;
  std::vector<std::string_view> lines = platform::SplitLines(all.substr(0, check_at));
  if (lines.size() < 2 || lines[0] != "IMGPRJ\t1") return 0;
  std::vector<std::string_view> f = platform::SplitTabs(lines[1]);
  if (f.size() != 2 || f[0] != "name" || !IsPlainName(Wide(f[1]).str())) return 0;
  CString name = Wide(f[1]);
  bool camera = false;
  CKvoArray<PROJECT_PHOTO, const PROJECT_PHOTO&> photos;
  for (size_t i = 2; i < lines.size(); ++i) {
    f = platform::SplitTabs(lines[i]);
    if (f.size() == 3 && f[0] == "file") {
      if (f[1] == "camera" && Wide(f[2]) == kCamera) {
        camera = true;
      } else if (!(f[1] == "control" && Wide(f[2]) == kControl) &&
                 !(f[1] == "result" && Wide(f[2]) == kResult)) {
        return 0;
      }
    } else if (f.size() == 5 && f[0] == "photo" && photos.GetSize() < kMaxPhotos) {
      CString photo = Wide(f[1]);
      PROJECT_PHOTO expected = PhotoFiles(photo);
      if (!IsPlainName(photo.str()) || Wide(f[2]) != expected.Jpeg || Wide(f[3]) != expected.Imc ||
          Wide(f[4]) != expected.Dlt) {
        return 0;
      }
      for (const PROJECT_PHOTO& p : photos)
        if (p.Name == photo) return 0;
      photos.Add(expected);
    } else {
      return 0;
    }
  }
  m_strName = name;
  m_bHasCamera = camera ? 1 : 0;
  m_Photos.Copy(photos);
  return 1;
}

int CProject::Open(const wchar_t* name) {
  if (!name || !IsPlainName(name) || !platform::PathIsFolder(ProjectFolder(name)))
    return Fail(platform::kMsgFileOpen);
  Close();
  CString folder = ProjectFolder(name);
  std::string bytes;
  bool index_ok = platform::ReadWholeFile(platform::JoinPath(folder, kIndex), bytes) &&
                  ParseIndex(bytes.data(), int(bytes.size()));
  if (!index_ok) {
    bool backup_ok = platform::ReadWholeFile(platform::JoinPath(folder, kBackup), bytes) &&
                     ParseIndex(bytes.data(), int(bytes.size()));
    if (!backup_ok) {
      Close();
      return Fail(platform::kMsgInvalidFile);
    }
    if (!platform::SafeFile::WriteAll(platform::JoinPath(folder, kIndex), bytes)) {
      Close();
      return Fail(platform::kMsgFileWrite);
    }
  }
  // The folder's name is the project's name, whatever the index says.
  m_strName = name;
  m_bOpen = 1;
  return 1;
}

int CProject::RestoreIndex() {
  if (!RequireOpen()) return 0;
  std::string bytes;
  CProject probe;
  probe.m_bShowMessage = 0;
  if (!platform::ReadWholeFile(GetFilePath(kBackup), bytes) ||
      !probe.ParseIndex(bytes.data(), int(bytes.size())))
    return Fail(platform::kMsgInvalidFile);
  if (!platform::SafeFile::WriteAll(GetFilePath(kIndex), bytes))
    return Fail(platform::kMsgFileWrite);
  m_bHasCamera = probe.m_bHasCamera;
  m_Photos.Copy(probe.m_Photos);
  return 1;
}

int CProject::List(CStringArray& names) {
  names.RemoveAll();
  std::vector<platform::FolderEntry> entries;
  if (!platform::ListFolder(m_strRoot, L"*", entries)) return 0;  // not the same as no projects
  std::vector<CString> found;
  for (const platform::FolderEntry& entry : entries) {
    if (!entry.folder) continue;
    CString folder = platform::JoinPath(m_strRoot, entry.name);
    if (platform::PathIsFile(platform::JoinPath(folder, kIndex)) ||
        platform::PathIsFile(platform::JoinPath(folder, kBackup)))
      found.push_back(entry.name);
  }
  std::sort(found.begin(), found.end());
  for (const CString& name : found) names.Add(name);
  return 1;
}

int CProject::Rename(const wchar_t* from, const wchar_t* to) {
  if (!from || !to || !IsPlainName(from) || !IsPlainName(to) ||
      !platform::PathIsFolder(ProjectFolder(from)))
    return Fail(platform::kMsgFileOpen);
  if (GetFileAttributesW(ProjectFolder(to)) != INVALID_FILE_ATTRIBUTES ||
      !MoveFileW(ProjectFolder(from), ProjectFolder(to))) {
    return Fail(platform::kMsgFolderError);
  }
  CProject renamed;
  renamed.m_bShowMessage = m_bShowMessage;
  renamed.SetRootFolder(m_strRoot);
  // The index carries the new name; when it cannot be rewritten the folder
  // takes its old name back, so 0 always means nothing was renamed.
  if (!renamed.Open(to) || !renamed.WriteIndex()) {
    MoveFileW(ProjectFolder(to), ProjectFolder(from));
    return 0;
  }
  if (m_bOpen && m_strName == from) {
    m_strName = to;
  }
  return 1;
}

int CProject::Delete(const wchar_t* name) {
  if (!name || !IsPlainName(name) || !platform::PathIsFolder(ProjectFolder(name)))
    return Fail(platform::kMsgFileOpen);
  if (m_bOpen && m_strName == name) Close();
  if (!platform::DeleteTree(ProjectFolder(name))) return Fail(platform::kMsgFileWrite);
  return 1;
}

int CProject::FindPhoto(const wchar_t* name) const {
  for (int i = 0; i < m_Photos.GetSize(); ++i)
    if (name && m_Photos[i].Name == name) return i;
  return -1;
}

int CProject::AddPhoto(const wchar_t* jpegPath, CString& name) {
  if (!RequireOpen() || !jpegPath) return 0;
  CString photo = name;
  for (int n = 1; photo.IsEmpty(); ++n) {
    CString candidate;
    candidate.Format(L"P%03d", n);
    if (FindPhoto(candidate) < 0) photo = candidate;
  }
  if (!IsPlainName(photo.str()) || FindPhoto(photo) >= 0) return Fail(platform::kMsgCopyError);
  PROJECT_PHOTO files_of = PhotoFiles(photo);
  CRTCard card;
  card.m_bShowMessage = m_bShowMessage;
  if (!card.CopyFile(jpegPath, GetFilePath(files_of.Jpeg))) return 0;
  m_Photos.Add(files_of);
  if (!WriteIndex()) {
    m_Photos.RemoveAt(m_Photos.GetSize() - 1);
    DeleteFileW(GetFilePath(files_of.Jpeg));
    return 0;
  }
  name = photo;
  return 1;
}

int CProject::RemovePhoto(const wchar_t* name) {
  int i = FindPhoto(name);
  if (!RequireOpen() || i < 0) return 0;
  PROJECT_PHOTO removed = m_Photos[i];
  m_Photos.RemoveAt(i);
  if (!WriteIndex()) {
    m_Photos.InsertAt(i, removed);
    return 0;
  }
  for (const CString& leaf : {removed.Jpeg, removed.Imc, removed.Dlt})
    DeleteFileW(GetFilePath(leaf));
  return 1;
}

int CProject::SetImagePoints(const wchar_t* photo, CSize& size, CKvoArray<CXYZ, CXYZ&>& points) {
  int i = FindPhoto(photo);
  if (!RequireOpen() || i < 0) return 0;
  if (!WriteImcFile(GetFilePath(m_Photos[i].Imc), m_Photos[i].Name, size, points))
    return Fail(platform::kMsgFileWrite);
  return 1;
}

int CProject::GetImagePoints(const wchar_t* photo, CSize& size, CKvoArray<CXYZ, CXYZ&>& points) {
  int i = FindPhoto(photo);
  if (!RequireOpen() || i < 0) return 0;
  CKvoStringT<wchar_t> title;
  return ReadImcFile(GetFilePath(m_Photos[i].Imc), title, size, points, /*mustExist=*/1);
}

int CProject::SetControlPoints(CKvoArray<CXYZ, CXYZ&>& points) {
  if (!RequireOpen()) return 0;
  if (!WriteCSVFile(GetFilePath(kControl), points, /*append=*/0))
    return Fail(platform::kMsgFileWrite);
  return 1;
}

int CProject::GetControlPoints(CKvoArray<CXYZ, CXYZ&>& points) {
  if (!RequireOpen()) return 0;
  return ReadCSVFile(GetFilePath(kControl), points, /*mustExist=*/1);
}

int CProject::SetCamera(CCamera& camera) {
  if (!RequireOpen()) return 0;
  if (!camera.Write(GetFilePath(kCamera))) return Fail(platform::kMsgFileWrite);
  if (!m_bHasCamera) {
    m_bHasCamera = 1;
    if (!WriteIndex()) {
      m_bHasCamera = 0;  // as the index on the card still says
      return 0;
    }
  }
  return 1;
}

int CProject::GetCamera(CCamera& camera) {
  if (!RequireOpen() || !m_bHasCamera) return 0;
  return camera.Read(GetFilePath(kCamera));
}

int CProject::SolveDLT(const wchar_t* photo, CDLT& dlt) {
  int i = FindPhoto(photo);
  if (!RequireOpen() || i < 0) return 0;
  CKvoArray<CXYZ, CXYZ&> control, image;
  CSize size;
  if (!GetControlPoints(control) || !GetImagePoints(photo, size, image)) return 0;
  CDLT solved;
  if (!solved.Solve(control, image)) return 0;
  solved.Name = m_Photos[i].Name;
  if (!solved.Write(GetFilePath(m_Photos[i].Dlt))) return Fail(platform::kMsgFileWrite);
  dlt = solved;
  return 1;
}

int CProject::GetDLT(const wchar_t* photo, CDLT& dlt) {
  int i = FindPhoto(photo);
  if (!RequireOpen() || i < 0) return 0;
  return dlt.Read(GetFilePath(m_Photos[i].Dlt));
}

int CProject::Intersect(const wchar_t* name, CXYZ& point, CSpaceIntersection* detail) {
  if (!RequireOpen() || !name || !*name) return 0;
  std::vector<SolvedPhoto> photos;
  if (!LoadSolvedPhotos(*this, photos)) return 0;
  CSpaceIntersection rays;
  GatherRays(photos, name, rays);
  CXYZ solved;
  if (!SolveRays(rays, name, solved)) return 0;
  point = solved;
  if (detail) *detail = rays;
  return 1;
}

int CProject::IntersectAll(CKvoArray<CXYZ, CXYZ&>& points) {
  if (!RequireOpen()) return 0;
  // A file that is there but cannot be read fails the whole run: the results
  // would replace result.csv with fewer points, or with control points taken
  // for new ones.
  CKvoArray<CXYZ, CXYZ&> control;
  if (!GetControlPoints(control) && platform::PathIsFile(GetFilePath(kControl))) return 0;
  std::vector<CString> names;
  for (const PROJECT_PHOTO& photo : m_Photos) {
    CSize size;
    CKvoArray<CXYZ, CXYZ&> image;
    if (!GetImagePoints(photo.Name, size, image)) {
      if (platform::PathIsFile(GetFilePath(photo.Imc))) return 0;
      continue;
    }
    for (const CXYZ& p : image) {
      bool is_control = std::any_of(
          control.begin(), control.end(), [&](const CXYZ& c) { return c.Name == p.Name; });
      if (!is_control && std::find(names.begin(), names.end(), p.Name) == names.end())
        names.push_back(p.Name);
    }
  }
  std::vector<SolvedPhoto> photos;
  if (!LoadSolvedPhotos(*this, photos)) return 0;
  CKvoArray<CXYZ, CXYZ&> results;
  for (const CString& name : names) {
    CSpaceIntersection rays;
    GatherRays(photos, name, rays);
    CXYZ point;
    if (SolveRays(rays, name, point)) results.Add(point);
  }
  if (!WriteCSVFile(GetFilePath(kResult), results, /*append=*/0))
    return Fail(platform::kMsgFileWrite);
  points.Copy(results);
  return 1;
}

int CProject::GetResultPoints(CKvoArray<CXYZ, CXYZ&>& points) {
  if (!RequireOpen()) return 0;
  return ReadCSVFile(GetFilePath(kResult), points, /*mustExist=*/1);
}
