// Projects: folders, names, the index and its backup, photographs (failures: tests/faults).
#include "storage/project.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <string>

#include "platform/text.h"
#include "tests/support/test_support.h"

namespace {

constexpr const wchar_t* kFirst = L"\\JPEG\\20240503\\140709W100.jpg";
constexpr const wchar_t* kSecond = L"\\JPEG\\20240503\\140805W100.jpg";

class ProjectTest : public testing_support::DeviceTest {
 protected:
  void SetUp() override {
    DeviceTest::SetUp();
    PutDeviceFile(kFirst, "\xFF\xD8 first picture \xFF\xD9");
    PutDeviceFile(kSecond, "\xFF\xD8 second picture \xFF\xD9");
  }
  std::string Index(const wchar_t* name, const wchar_t* file = L"project.hdr") {
    return GetDeviceFile((L"\\IMG_MAIN\\project\\" + std::wstring(name) + L"\\" + file).c_str());
  }
  CProject project_;
};

TEST_F(ProjectTest, CreateListRenameDelete) {
  CStringArray names;
  ASSERT_EQ(project_.List(names), 1);  // no root yet
  EXPECT_EQ(names.GetSize(), 0);
  ASSERT_EQ(project_.Create(L"Bridge"), 1);
  ASSERT_EQ(project_.Create(L"Abbey"), 1);
  EXPECT_EQ(project_.GetName(), CString(L"Abbey"));
  EXPECT_EQ(project_.GetFolder(), CString(L"\\IMG_MAIN\\project\\Abbey"));
  std::filesystem::create_directories(Host(L"\\IMG_MAIN\\project\\not a project"));
  ASSERT_EQ(project_.List(names), 1);
  ASSERT_EQ(names.GetSize(), 2);
  EXPECT_EQ(std::wstring(names[0]) + L"," + std::wstring(names[1]), L"Abbey,Bridge");
  EXPECT_EQ(Index(L"Abbey"), Index(L"Abbey", L"project.bkh"));
  // The check line is the CRC-32 of the lines before it (zlib's crc32).
  EXPECT_EQ(Index(L"Abbey"),
            "IMGPRJ\t1\nname\tAbbey\nfile\tcontrol\tcontrol.csv\nfile\tresult\tresult.csv\n"
            "check\tC0EEFC5B\n");
  ASSERT_EQ(project_.Rename(L"Abbey", L"Abbey 2024"), 1);
  EXPECT_EQ(project_.GetName(), CString(L"Abbey 2024"));  // the open project follows
  EXPECT_NE(Index(L"Abbey 2024").find("name\tAbbey 2024\n"), std::string::npos);
  ASSERT_EQ(project_.Delete(L"Bridge"), 1);
  ASSERT_EQ(project_.List(names), 1);
  ASSERT_EQ(names.GetSize(), 1);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(ProjectTest, BadNamesAndExistingProjectsAreRefused) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  EXPECT_EQ(project_.Create(L"Site"), 0);
  EXPECT_EQ(boxes_.LastText(), L"Folder maked error. E-521");
  EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  // A name is one plain folder name of at most 64 characters.
  const std::wstring longest(64, L'n');
  const std::pair<std::wstring, int> names[] = {{L"...", 1},
                                                {L"Abbey 2024", 1},
                                                {L"Pr\u00FCfung\u6E2C", 1},
                                                {longest, 1},
                                                {L"", 0},
                                                {L".", 0},
                                                {L"..", 0},
                                                {longest + L"n", 0},
                                                {L"\x1F", 0},
                                                {L"a\\b", 0},
                                                {L"a/b", 0},
                                                {L"a|b", 0}};
  for (const auto& [name, ok] : names)
    EXPECT_EQ(project_.Create(name.c_str()), ok) << platform::WideToUtf8(name);
  // "." and ".." are never a project or a photograph: nothing above a project is touched.
  for (const wchar_t* up : {L".", L".."}) {
    CString photo = up;
    EXPECT_EQ(
        project_.AddPhoto(kFirst, photo) + project_.Rename(up, L"moved") + project_.Delete(up), 0)
        << platform::WideToUtf8(up);
  }
  EXPECT_TRUE(DeviceFileExists(L"\\IMG_MAIN\\project\\Site\\project.hdr"));
  EXPECT_EQ(project_.GetPhotoCount(), 0);
  boxes_.clear();
  EXPECT_EQ(project_.Open(L"Nowhere"), 0);
  EXPECT_EQ(boxes_.LastText(), L"File Open Error. E-507");
  ASSERT_EQ(project_.Create(L"Other"), 1);
  project_.m_bShowMessage = 0;
  EXPECT_EQ(project_.Rename(L"Site", L"Other"), 0);  // taken
  EXPECT_EQ(project_.Rename(L"Site", L"..\\up") + project_.Rename(nullptr, L"x"), 0);
}

TEST_F(ProjectTest, PhotographsAreCopiedInAndListedInTheIndex) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  CString first, second = L"east";
  ASSERT_EQ(project_.AddPhoto(kFirst, first), 1);
  ASSERT_EQ(project_.AddPhoto(kSecond, second), 1);
  EXPECT_EQ(std::wstring(first) + std::wstring(second), L"P001east");
  EXPECT_EQ(Index(L"Site", L"P001.jpg"), "\xFF\xD8 first picture \xFF\xD9");
  EXPECT_NE(Index(L"Site").find("photo\teast\teast.jpg\teast.imc\teast.DLT\n"), std::string::npos);
  CString again = L"east";
  project_.m_bShowMessage = 0;
  EXPECT_EQ(project_.AddPhoto(kSecond, again), 0);  // name taken
  EXPECT_EQ(project_.AddPhoto(L"\\JPEG\\none.jpg", again), 0);
  CProject reopened;
  ASSERT_EQ(reopened.Open(L"Site"), 1);
  ASSERT_EQ(reopened.GetPhotoCount(), 2);
  ASSERT_EQ(reopened.RemovePhoto(L"P001"), 1);
  EXPECT_FALSE(std::filesystem::exists(Host(L"\\IMG_MAIN\\project\\Site\\P001.jpg")));
  EXPECT_EQ(reopened.FindPhoto(L"east"), 0);
}

TEST_F(ProjectTest, DamagedOrMissingIndexIsRestoredFromTheBackup) {
  ASSERT_EQ(project_.Create(L"Site"), 1);
  CString name;
  ASSERT_EQ(project_.AddPhoto(kFirst, name), 1);
  name.Empty();  // the next free name
  ASSERT_EQ(project_.AddPhoto(kSecond, name), 1);
  EXPECT_EQ(name, CString(L"P002"));
  const std::string good = Index(L"Site");
  const std::string hdr = Host(L"\\IMG_MAIN\\project\\Site\\project.hdr");
  // One changed byte (a photo name), a torn end, an empty file, no file.
  std::string flipped = good;
  flipped[flipped.find("P002")] = 'Q';
  const std::string damaged[] = {flipped, good.substr(0, good.size() / 2), ""};
  for (int i = 0; i < 4; ++i) {
    i < 3 ? WriteHostFile(hdr, damaged[i]) : void(std::filesystem::remove(hdr));
    CProject opened;
    ASSERT_EQ(opened.Open(L"Site"), 1);
    EXPECT_EQ(opened.GetPhotoCount(), 2);
    EXPECT_EQ(ReadHostFile(hdr), good);
  }
  CProject opened;
  ASSERT_EQ(opened.Open(L"Site"), 1);
  // RestoreIndex on an open project rewrites it, too.
  WriteHostFile(hdr, flipped);
  ASSERT_EQ(opened.RestoreIndex(), 1);
  EXPECT_EQ(ReadHostFile(hdr), good);
}

// Only a complete, consistent index with a matching CRC-32 is taken; a refused one changes nothing.
TEST(ProjectIndex, OnlyConsistentIndexTextIsTaken) {
  const std::string head = "IMGPRJ\t1\nname\tSite\nfile\tcontrol\tcontrol.csv\n";
  const std::string a = "photo\tA\tA.jpg\tA.imc\tA.DLT\n";
  const struct {
    std::string body;
    int photos;  // -1: refused
  } cases[] = {{head + a, 1},
               {head + "file\tcamera\tcamera.cmr\nfile\tresult\tresult.csv\n" + a, 1},
               {head, 0},
               {"IMGPRJ\t2\nname\tSite\n", -1},
               {"IMGPRJ\t1\n", -1},
               {"IMGPRJ\t1\nname\t..\n", -1},
               {"IMGPRJ\t1\nlabel\tSite\n", -1},
               {head + "file\tcontrol\tother.csv\n", -1},
               {head + "photo\tA\tB.jpg\tA.imc\tA.DLT\n", -1},
               {head + "photo\t.\t..jpg\t..imc\t..DLT\n", -1},
               {head + a + a, -1},
               {head + "junk\n", -1}};
  auto withCheck = [](const std::string& body) {
    return body +
           platform::FormatA(
               "check\t%08X\n",
               unsigned(crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size()))));
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.body);
    CProject project;
    const std::string before = withCheck(head + a + "photo\tB\tB.jpg\tB.imc\tB.DLT\n");
    ASSERT_EQ(project.ParseIndex(before.data(), int(before.size())), 1);
    EXPECT_EQ(project.ParseIndex(c.body.data(), int(c.body.size())), 0);  // no check line
    const std::string text = withCheck(c.body);
    EXPECT_EQ(project.ParseIndex(text.data(), int(text.size())), c.photos >= 0 ? 1 : 0);
    EXPECT_EQ(project.GetPhotoCount(), c.photos >= 0 ? c.photos : 2);
    EXPECT_EQ(project.GetName(), CString(L"Site"));
  }
}

}  // namespace
