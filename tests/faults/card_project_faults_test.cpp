// Fault matrix of the storage card and of the image-measurement project.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "camera/camera.h"
#include "photogrammetry/dlt.h"
#include "platform/registry.h"
#include "storage/project.h"
#include "storage/rt_card.h"
#include "tests/faults/fault_matrix.h"
#include "tests/photogrammetry/pinhole.h"

namespace {

namespace fs = std::filesystem;
using namespace fault_matrix;
using PointArray = CKvoArray<CXYZ, CXYZ&>;

constexpr const wchar_t* kCard = L"\\Storage Card";
constexpr const wchar_t* kE508 = L"Invalid File. E-508";
constexpr const wchar_t* kE512 = L"File Write Error. E-512";
constexpr const wchar_t* kE520 = L"It is a copy error. E-520";
constexpr const wchar_t* kE521 = L"Folder maked error. E-521";
constexpr const wchar_t* kE523 = L"The capacity of the memory doesn't suffice. E-523";

class CardProjectFaults : public FaultMatrix<> {
 protected:
  void SetUp() override {
    FaultMatrix::SetUp();
    ASSERT_TRUE(
        platform::registry::SetString(L"HKLM\\SYSTEM\\QZ7mInit\\Memory", L"PCMCIAFolder", kCard));
  }
  // Empties main memory and the card (both folders exist afterwards).
  void Clear() const {
    for (const wchar_t* folder : {L"\\IMG_MAIN", kCard}) {
      fs::remove_all(Host(folder));
      fs::create_directories(Host(folder));
    }
  }
  // A failed transfer: E-523 when the free space could not be had, else E-520.
  static void ExpectTransferFailed(const Faulted& f) {
    EXPECT_EQ(f.result, 0);
    ExpectBox(f, f.point == "fs.free_space" ? kE523 : kE520);
  }

  CRTCard card_;
};

using CardFaults = CardProjectFaults;

// A failed lookup gives no answer (never an empty card or a short size), silently.
TEST_F(CardFaults, RootAndListings) {
  ULONGLONG free_bytes = 0, total = 0, bytes = 0;
  CKvoArray<RTCARD_FILE_INFO, RTCARD_FILE_INFO&> list;
  Drill({"CRTCard root and listings",
         [&] {
           Clear();
           PutDeviceFile(L"\\Storage Card\\b.jpg", Pattern(1500, 1));
           PutDeviceFile(L"\\Storage Card\\d.jpg\\inner.bin", Pattern(300, 3));
           card_ = CRTCard();
           free_bytes = total = bytes = 7;
         },
         [&] {
           return card_.GetFreeSpace(nullptr, free_bytes, total) &
                  card_.GetFileList(kCard, L"*.jpg", list) & card_.GetFolderSize(kCard, bytes);
         },
         [&](const Faulted& f) {
           const bool root = f.Under("registry.") && f.point != "registry.close";
           ExpectOutcome(f, f.point == "registry.close" ? 1 : 0);
           EXPECT_EQ(card_.GetCardRoot(), CString(root ? L"" : kCard));
           EXPECT_EQ(free_bytes + total == 14, root || f.point == "fs.free_space");
           EXPECT_EQ(list.GetSize(), f.Early("fs.find", 1) ? 0 : 2);
           EXPECT_EQ(bytes == 7, f.point == "fs.find" && f.skip > 0);
         },
         true});
}

TEST_F(CardFaults, Transfers) {
  const std::string photo = Pattern(100000, 4), old = Pattern(777, 5);
  const wchar_t *from = L"\\Storage Card\\q.jpg", *to = L"\\IMG_MAIN\\q.jpg";
  const struct {
    const char* name;
    int (CRTCard::*fn)(const wchar_t*, const wchar_t*);
    bool replace;
  } files[] = {{"CRTCard::CopyFile(replace)", &CRTCard::CopyFile, true},
               {"CRTCard::MoveFile", &CRTCard::MoveFile, false},
               {"CRTCard::MoveFile(replace)", &CRTCard::MoveFile, true}};
  for (const auto& t : files) {
    Drill({t.name,
           [&] {
             Clear();
             PutDeviceFile(from, photo);
             if (t.replace) PutDeviceFile(to, old);
             card_.SetCardRoot(kCard);
           },
           [&] { return (card_.*t.fn)(from, to); },
           [&](const Faulted& f) {
             if (f.result == 0) return ExpectTransferFailed(f);
             // Moved; only the kept copy of the replaced file could not be deleted.
             EXPECT_TRUE(t.replace && t.fn == &CRTCard::MoveFile && f.boxes.empty());
             EXPECT_EQ(Snapshot(L"\\IMG_MAIN"), (Tree{{"q.jpg", photo}, {"q.jpg~", old}}));
           },
           true});
  }
  Tree job;
  auto prepareJob = [&] {
    Clear();
    PutDeviceFile(L"\\IMG_MAIN\\job\\a.jpg", Pattern(50000, 6));
    PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\b.imc", Pattern(1234, 7));
    PutDeviceFile(L"\\IMG_MAIN\\job\\sub\\deeper\\c.DLT", Pattern(99, 8));
    fs::create_directories(Host(L"\\IMG_MAIN\\job\\empty"));
    card_.SetCardRoot(kCard);
    job = Snapshot(L"\\IMG_MAIN\\job");
  };
  // What is left of a source whose deletion stopped part-way is unchanged.
  auto expectPartOfJob = [&] {
    for (const auto& [path, bytes] : Snapshot(L"\\IMG_MAIN\\job"))
      EXPECT_EQ(job.at(path), bytes) << path;
  };
  Drill({"CRTCard::CopyFolder",
         prepareJob,
         [&] { return card_.CopyFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"); },
         ExpectTransferFailed,
         true});
  Drill({"CRTCard::MoveFolder",
         prepareJob,
         [&] { return card_.MoveFolder(L"\\IMG_MAIN\\job", L"\\Storage Card\\job"); },
         [&](const Faulted& f) {
           // Failed while copying: nothing changed; while deleting: the copy is complete.
           if (f.result == 0) ExpectTransferFailed(f);
           if (f.changed.empty()) {
             EXPECT_NE(f.point, "fs.delete");
             return;
           }
           EXPECT_TRUE(f.point == "fs.delete" || f.point == "fs.find");
           EXPECT_EQ(Snapshot(L"\\Storage Card\\job"), job);
           EXPECT_EQ(f.result, DeviceFileExists(L"\\IMG_MAIN\\job") ? 0 : 1);
           expectPartOfJob();
         }});
  Drill({"CRTCard::DeleteFolder",
         prepareJob,
         [&] { return card_.DeleteFolder(L"\\IMG_MAIN\\job"); },
         [&](const Faulted& f) {
           EXPECT_TRUE(f.boxes.empty());
           // A failed search of a folder already emptied still lets it go (1).
           EXPECT_EQ(f.result, DeviceFileExists(L"\\IMG_MAIN\\job") ? 0 : 1);
           EXPECT_TRUE(f.result == 0 || f.point == "fs.find");
           expectPartOfJob();
         }});
}

constexpr const wchar_t* kRoot = L"\\IMG_MAIN\\project";
constexpr const wchar_t* kJpeg = L"\\JPEG\\20240503\\140709W100.jpg";
const PointArray kControl = pinhole_test::SitePoints(8, L"C", 3);
const CXYZ kT1(L"T1", 1041.5, 2028.2, 52.7), kT2(L"T2", 1036.1, 2034.9, 50.3);

class ProjectFaults : public CardProjectFaults {
 protected:
  void SetUp() override {
    CardProjectFaults::SetUp();
    PutDeviceFile(kJpeg, Pattern(50000, 9));
    BuildProjects();
    fs::copy(Host(kRoot), Host(L"\\template"), fs::copy_options::recursive);
  }
  // "Other" and "Bare" empty; "Site" with control, a camera, two solved photographs.
  void BuildProjects() {
    CProject p;
    ASSERT_EQ(p.Create(L"Other") + p.Create(L"Bare") + p.Create(L"Site"), 3);
    PointArray control = kControl, ground = kControl;
    CXYZ t1 = kT1, t2 = kT2;
    ground.Add(t1), ground.Add(t2);
    CCamera camera;
    camera.FocalLength = 5.6;
    ASSERT_EQ(p.SetControlPoints(control) + p.SetCamera(camera), 2);
    for (const auto* pinhole : {&pinhole_test::kWest, &pinhole_test::kSouth}) {
      CString name;
      ASSERT_EQ(p.AddPhoto(kJpeg, name), 1);
      PointArray image = pinhole_test::Photograph(*pinhole, ground);
      CSize size(640, 480);
      CDLT dlt;
      ASSERT_EQ(p.SetImagePoints(name, size, image) + p.SolveDLT(name, dlt), 2);
    }
    PointArray results;
    ASSERT_EQ(p.IntersectAll(results), 1);
    ASSERT_EQ(results.GetSize(), 2);
  }
  // Puts the projects back as built and opens `name` (not counted).
  void Restore(const wchar_t* name = L"Site") {
    fs::remove_all(Host(kRoot));
    fs::copy(Host(L"\\template"), Host(kRoot), fs::copy_options::recursive);
    project_.Close();
    project_.m_bShowMessage = 1;
    EXPECT_EQ(project_.Open(name), 1);
  }
  static std::wstring SitePath(const wchar_t* leaf) {
    return std::wstring(kRoot) + L"\\Site\\" + leaf;
  }
  std::string SiteFile(const wchar_t* leaf) const { return GetDeviceFile(SitePath(leaf).c_str()); }
  // Photographs a fresh open of the project finds (-1: it does not open).
  static int Reopened(const wchar_t* name = L"Site") {
    CProject p;
    p.m_bShowMessage = 0;
    return p.Open(name) ? p.GetPhotoCount() : -1;
  }

  CProject project_;
  const std::function<void()> restore_ = [this] { Restore(); };
};

TEST_F(ProjectFaults, FoldersAndIndex) {
  Drill({"CProject::Create",
         restore_,
         [&] { return project_.Create(L"New"); },
         [&](const Faulted& f) {
           const bool folder = f.point == "fs.create_directory";
           ExpectOutcome(f, 0, folder ? kE521 : kE512);
           // The open project is closed once the folder is made.
           EXPECT_EQ(project_.IsOpen(), folder ? 1 : 0);
         },
         true});
  Drill({"CProject::Open",
         [&] { Restore(L"Other"); },
         [&] { return project_.Open(L"Site"); },
         [&](const Faulted& f) {
           // A refused index is rewritten from the backup; a lost read has no backup either.
           const bool refused = f.point == "file.open";
           ExpectOutcome(f, refused ? 1 : 0, refused ? L"" : kE508);
           EXPECT_EQ(project_.IsOpen() ? project_.GetPhotoCount() : -1, refused ? 2 : -1);
           EXPECT_EQ(f.changed, "");
         }});
  CStringArray names;
  Drill({"CProject::List",
         restore_,
         [&] { return project_.List(names); },
         [&](const Faulted& f) {
           ExpectOutcome(f, 0);  // a root that cannot be searched is not an empty one
           EXPECT_EQ(names.GetSize(), 0);
         }});
  Drill({"CProject::Rename",
         restore_,
         [&] { return project_.Rename(L"Site", L"Site2"); },
         [&](const Faulted& f) {
           if (f.Early("file.open", 1)) {  // an index read that the backup stands in for
             ExpectOutcome(f, 1);
             EXPECT_EQ(Reopened(L"Site2"), 2);
           } else {
             ExpectOutcome(f,
                           0,
                           f.Early("fs.move", 1)    ? kE521
                           : f.point == "file.read" ? kE508
                                                    : kE512);
           }
           EXPECT_EQ(project_.GetName(), CString(f.result ? L"Site2" : L"Site"));
         },
         true});
  Drill({"CProject::Delete",
         restore_,
         [&] { return project_.Delete(L"Other"); },
         [&](const Faulted& f) {
           ExpectOutcome(f, 0, kE512);
           EXPECT_TRUE(DeviceFileExists(L"\\IMG_MAIN\\project\\Other"));
           EXPECT_EQ(project_.IsOpen(), 1);
           EXPECT_EQ(project_.Delete(L"Other"), 1);  // a second try finishes the job
         }});
  Drill({"CProject::RestoreIndex",
         [&] {
           Restore();
           std::string damaged = SiteFile(L"project.hdr");
           damaged[damaged.find("P002")] = 'Q';
           PutDeviceFile(SitePath(L"project.hdr").c_str(), damaged);
         },
         [&] { return project_.RestoreIndex(); },
         [&](const Faulted& f) {
           // The damaged index and the whole backup stay for the next open.
           const bool backup = f.point == "file.read" || f.Early("file.open", 1);
           ExpectOutcome(f, 0, backup ? kE508 : kE512);
         },
         true});
}

TEST_F(ProjectFaults, Photographs) {
  CString name;
  Drill({"CProject::AddPhoto",
         restore_,
         [&] { return project_.AddPhoto(kJpeg, name); },
         [&](const Faulted& f) {
           // An unknown card root does not matter to a copy in main memory.
           if (f.Under("registry.")) {
             ExpectOutcome(f, 1);
             EXPECT_EQ(SiteFile(L"P003.jpg"), GetDeviceFile(kJpeg));
             EXPECT_EQ(Reopened(), 3);
             return;
           }
           // The copy's saves come before the index's.
           const bool copying = f.point == "file.read" || f.Early("file.open", 3) ||
                                f.Early("file.write", 2) || f.Early("file.flush", 1) ||
                                f.Early("file.rename", 1);
           ExpectOutcome(f, 0, f.point == "fs.free_space" ? kE523 : copying ? kE520 : kE512);
           EXPECT_EQ(project_.GetPhotoCount(), 2);
         },
         true});
  Drill({"CProject::RemovePhoto",
         restore_,
         [&] { return project_.RemovePhoto(L"P002"); },
         [&](const Faulted& f) {
           const bool orphan = f.point == "fs.delete";  // a file left behind is only an orphan
           ExpectOutcome(f, orphan ? 1 : 0, orphan ? L"" : kE512);
           EXPECT_EQ(project_.FindPhoto(L"P002"), orphan ? -1 : 1);
           EXPECT_EQ(Reopened(), orphan ? 1 : 2);
         },
         true});
}

TEST_F(ProjectFaults, PointsAndCamera) {
  PointArray points;
  CCamera camera, back;
  camera.FocalLength = 8.25;
  // E-512 (after a refused file's own box); files and an earlier camera stay.
  const auto saveCheck = [&](const wchar_t* project, const wchar_t* file, bool hadCamera) {
    return [&, project, file, hadCamera](const Faulted& f) {
      EXPECT_EQ(f.result, 0);
      const bool own = f.Early("file.open", 1);  // the saved file's own open
      ExpectRefused(f, own ? std::wstring(kRoot) + L"\\" + project + L"\\" + file : L"", {kE512});
      EXPECT_EQ(project_.GetCamera(back), hadCamera ? 1 : 0);
      EXPECT_DOUBLE_EQ(back.FocalLength, hadCamera ? 5.6 : 0.0);
      // A first camera saved before its index save failed is only an orphan.
      EXPECT_TRUE(f.changed.empty() ||
                  (!hadCamera && f.changed == "IMG_MAIN/project/Bare/camera.cmr "));
    };
  };
  Drill({"CProject::SetControlPoints",
         [&] {
           Restore();
           points.Copy(kControl);
           points[0].X += 0.5;
         },
         [&] { return project_.SetControlPoints(points); },
         saveCheck(L"Site", L"control.csv", true)});
  Drill({"CProject::SetCamera(first)",
         [&] {
           Restore(L"Bare");
           back.FocalLength = 0.0;
         },
         [&] { return project_.SetCamera(camera); },
         saveCheck(L"Bare", L"camera.cmr", false)});
  Drill({"CProject::SetCamera(replace)",
         restore_,
         [&] { return project_.SetCamera(camera); },
         saveCheck(L"Site", L"camera.cmr", true)});
}

TEST_F(ProjectFaults, SolveAndIntersect) {
  CDLT dlt;
  const auto prepareDlt = [&] {
    Restore();
    dlt.Init();
    dlt.m_dL[0] = -1.0;
  };
  Drill({"CProject::SolveDLT",
         prepareDlt,
         [&] { return project_.SolveDLT(L"P001", dlt); },
         [&](const Faulted& f) {
           if (f.result == 1) {  // only the end of the last file lost
             EXPECT_EQ(f.point, "file.read");
             EXPECT_EQ(dlt.GetControlCount(), 8);
             return;
           }
           EXPECT_EQ(dlt.m_dL[0], -1.0);
           // A refused open names its file; a lost read shows nothing.
           const bool refused = f.Early("file.open", 2),
                      saving = !refused && f.point != "file.read";
           ExpectRefused(f,
                         refused ? SitePath(f.skip == 0 ? L"control.csv" : L"P001.imc") : L"",
                         saving ? std::vector<std::wstring>{kE512} : std::vector<std::wstring>{});
         },
         true});
  PointArray results;
  CXYZ old(L"old", -1.0, -1.0, -1.0);
  Drill({"CProject::IntersectAll",
         [&] {
           Restore();
           results.RemoveAll();
           results.Add(old);
         },
         [&] { return project_.IntersectAll(results); },
         [&](const Faulted& f) {
           if (f.result == 0) {  // the previous results stay whole
             EXPECT_EQ(results.GetSize(), 1);
             if (f.point != "file.open" && f.point != "file.read") ExpectBox(f, kE512);
             return;
           }
           EXPECT_TRUE(f.point == "file.read" || f.point == "fs.delete");
           ASSERT_EQ(results.GetSize(), 2);
           EXPECT_LT(results[0].Len(kT1), 1e-6);
           EXPECT_LT(results[1].Len(kT2), 1e-6);
         },
         true});
}
}  // namespace
