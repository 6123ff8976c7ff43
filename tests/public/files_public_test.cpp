// What a host sees of the point files through the umbrella header alone:
// hand-written expected bytes, read-back, and the format edge cases.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "surveycam.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

class FilesPublic : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("surveycam_files_public_" +
            std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::wstring Path(const char* name) const { return platform::Utf8ToWide((dir_ / name).string()); }
  std::string Read(const char* name) const {
    std::ifstream in(dir_ / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  void Write(const char* name, const std::string& bytes) const {
    std::ofstream(dir_ / name, std::ios::binary) << bytes;
  }
  std::filesystem::path dir_;
};

TEST_F(FilesPublic, CommaSeparatedFile) {
  PointArray pts;
  CXYZ a(L"P1", 1.5, -2.25, 100);
  pts.Add(a);
  ASSERT_EQ(WriteCSVFile(Path("a.csv").c_str(), pts, 0), 1);
  EXPECT_EQ(Read("a.csv"), "P1,1.500000,-2.250000,100.000000\n");

  Write("b.csv", "P1, 10.5 ,20,30\n,1,2,3\nQ,1,2,3,TGT,7\n");
  ASSERT_EQ(ReadCSVFile(Path("b.csv").c_str(), pts, 1), 1);
  ASSERT_EQ(pts.GetSize(), 2);
  EXPECT_EQ(pts[0].Name, L"P1");
  EXPECT_EQ(pts[0].X, 10.5);
  EXPECT_EQ(pts[0].Z, 30.0);
  EXPECT_TRUE(pts[0].Code.IsEmpty());
  EXPECT_EQ(pts[1].Code, L"TGT");
  EXPECT_EQ(pts[1].Num, 7);

  EXPECT_EQ(ReadCSVFile(Path("missing.csv").c_str(), pts, 1), 0);
  EXPECT_EQ(ReadCSVFile(Path("missing.csv").c_str(), pts, 0), 1);
  EXPECT_EQ(pts.GetSize(), 0);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "missing.csv"));
}

TEST_F(FilesPublic, ImageCoordinateFile) {
  PointArray pts;
  CXYZ unnamed(1, 1, 0), a(L"A", 12.5, -3.25, 0), b(L"B", 2, 2, 0);
  pts.Add(unnamed);
  pts.Add(a);
  pts.Add(b);
  CSize size(640, 480);
  ASSERT_EQ(WriteImcFile(Path("p.imc").c_str(), L"IMG_0001.jpg", size, pts), 1);
  // Two named points counted, but only the first two entries walked.
  EXPECT_EQ(Read("p.imc"),
            "IMG_0001.jpg\n640 480\n2\nA        12.5000000000        -3.2500000000\n0\n");

  Write("q.imc", "pic\n320 240\n3\nA 1 2\nB 3 4\n");
  CKvoStringT<wchar_t> title;
  CSize got;
  EXPECT_EQ(ReadImcFile(Path("q.imc").c_str(), title, got, pts, 1), 0);
  EXPECT_EQ(title, L"pic");
  EXPECT_EQ(got.cx, 320);
  EXPECT_EQ(pts.GetSize(), 3);
  EXPECT_EQ(pts[1].X, 3.0);

  Write("r.imc", "pic\n320 240\n2\nA 1 2\nB 3 4\n0\n");
  EXPECT_EQ(ReadImcFile(Path("r.imc").c_str(), title, got, pts, 1), 1);
  EXPECT_EQ(pts[1].Name, L"B");
}

TEST_F(FilesPublic, ScanFileAndFileName) {
  CXYZ p(L"S1", 1, 2, 3);
  ASSERT_EQ(ScanFileAdd(Path("s.txt").c_str(), p), 1);
  p.Code = L"TGT";
  ASSERT_EQ(ScanFileAdd(Path("s.txt").c_str(), p), 1);
  p.Num = 4;
  ASSERT_EQ(ScanFileAdd(Path("s.txt").c_str(), p, L"note"), 1);
  EXPECT_EQ(Read("s.txt"),
            "S1,1.000000,2.000000,3.000000\n"
            "S1,1.000000,2.000000,3.000000,TGT\n"
            "S1,1.000000,2.000000,3.000000,TGT,4,note\n");
  CKvoStringT<wchar_t> name;
  EXPECT_EQ(EditFileName(L"\\Storage Card\\site.csv", name), 1);
  EXPECT_EQ(name, L"site");
}

}  // namespace
