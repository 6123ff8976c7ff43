// Point files: exact bytes, round trips, the reader's rules, scan appends, malformed input.
#include "pointfiles/point_files.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/fs.h"
#include "tests/support/decimal_comma_locale.h"
#include "tests/support/test_support.h"

namespace {

using PointArray = CKvoArray<CXYZ, CXYZ&>;

CXYZ Point(
    const wchar_t* name, double x, double y, double z, const wchar_t* code = L"", int num = 0) {
  CXYZ p(name, x, y, z);
  p.Code = code;
  p.Num = num;
  return p;
}

std::tuple<std::wstring, double, double, double, std::wstring, int> Fields(const CXYZ& p) {
  return {std::wstring(p.Name), p.X, p.Y, p.Z, std::wstring(p.Code), p.Num};
}

PointArray Points(std::initializer_list<CXYZ> list) {
  PointArray a;
  for (CXYZ p : list) a.Add(p);
  return a;
}

using PointFiles = testing_support::DeviceTest;

// Names are UTF-8; numbers keep a decimal point under a decimal-comma locale.
TEST_F(PointFiles, CsvWriteGivesExactLinesAndAppendNeedsAnExistingFile) {
  testing_support::DecimalCommaLocale locale;
  PointArray pts = Points({Point(L"P\u00E4\u6E2C", 1.5, -2.25, 1000),
                           Point(L"BM 2", 0.0000004, 12345.6789, -0.5, L"CTRL", 9)}),
             in;
  ASSERT_EQ(WriteCSVFile(L"\\pts\\a.csv", pts, 0), 0);  // folder does not exist
  CreateDirectoryW(L"\\pts", nullptr);
  ASSERT_EQ(WriteCSVFile(L"\\pts\\a.csv", pts, 0), 1);
  EXPECT_EQ(GetDeviceFile(L"\\pts\\a.csv"),
            "P\xC3\xA4\xE6\xB8\xAC,1.500000,-2.250000,1000.000000\n"
            "BM 2,0.000000,12345.678900,-0.500000\n");
  ASSERT_EQ(ReadCSVFile(L"\\pts\\a.csv", in, 1), 1);
  EXPECT_EQ(Fields(in[0]), Fields(pts[0]));
  // Appending needs an existing file; an empty array empties the file.
  PointArray one = Points({Point(L"A", 1, 2, 3)}), two = Points({Point(L"B", 4, 5, 6)}), none;
  const std::string a = "A,1.000000,2.000000,3.000000\n", b = "B,4.000000,5.000000,6.000000\n";
  const struct {
    PointArray& pts;
    int append, result;
    std::string file;
  } steps[] = {
      {one, 1, 0, "missing"}, {one, 0, 1, a}, {two, 1, 1, a + b}, {two, 0, 1, b}, {none, 0, 1, ""}};
  for (const auto& step : steps) {
    EXPECT_EQ(WriteCSVFile(L"\\x.csv", step.pts, step.append), step.result);
    EXPECT_EQ(DeviceFileExists(L"\\x.csv") ? GetDeviceFile(L"\\x.csv") : "missing", step.file);
  }
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(PointFiles, CsvColumnsAreTrimmedAndOptional) {
  PutDeviceFile(L"\\c.csv",
                "P1, 10.5 ,20,30\n"
                "  ,4,5,6\n"
                "Q ,1e3, -2.5e-1 , 7 , CODE 1 , 42 \r\n"
                "R,1,2,3,C,5,extra,columns\n"
                "S,abc,,\n"
                "T\n"
                "\r\n" +
                    std::string("V,1,2,3\0,X,7\n", 13) +  // a line ends at a zero byte
                    "U,1,2,3");                           // no final line feed
  PointArray pts = Points({Point(L"stale", 9, 9, 9)});
  ASSERT_EQ(ReadCSVFile(L"\\c.csv", pts, 1), 1);
  // The sixth column is the rest of the line; unreadable and missing numbers give 0.
  const CXYZ expected[] = {Point(L"P1", 10.5, 20, 30),
                           Point(L"Q", 1000, -0.25, 7, L"CODE 1", 42),
                           Point(L"R", 1, 2, 3, L"C", 5),
                           Point(L"S", 0, 0, 0),
                           Point(L"T", 0, 0, 0),
                           Point(L"V", 1, 2, 3),
                           Point(L"U", 1, 2, 3)};
  ASSERT_EQ(pts.GetSize(), 7);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(Fields(pts[i]), Fields(expected[i])) << i;
}

TEST_F(PointFiles, MissingFilesFailOrAreCreatedEmptyAndNoPathFailsAtOnce) {
  PointArray pts = Points({Point(L"stale", 1, 2, 3)});
  EXPECT_EQ(ReadCSVFile(L"\\none.csv", pts, 1), 0);
  EXPECT_FALSE(DeviceFileExists(L"\\none.csv"));
  EXPECT_EQ(pts.GetSize(), 0);
  EXPECT_EQ(ReadCSVFile(L"\\none.csv", pts, 0), 1);
  EXPECT_EQ(GetDeviceFile(L"\\none.csv"), "");
  EXPECT_EQ(ReadCSVFile(L"\\no\\such\\dir.csv", pts, 0), 0);  // cannot be created
  CKvoString title(L"old");
  CSize size(7, 8);
  pts = Points({Point(L"A", 1, 2, 3)});
  CFile file;
  for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L""})
    EXPECT_EQ(WriteCSVFile(path, pts, 0) + ReadCSVFile(path, pts, 0) +
                  WriteImcFile(path, L"t", size, pts) + ReadImcFile(path, title, size, pts, 0) +
                  ScanFileOpen(&file, path) + ScanFileAdd(path, pts[0]) +
                  ScanFileAdd(path, pts[0], L"n") + ScanFileAdd(path, pts) +
                  EditFileName(path, title),
              0);
  EXPECT_EQ(pts.GetSize(), 1);  // not emptied
  EXPECT_EQ(title, L"old");
  EXPECT_EQ(boxes_.size(), 0u);
}

// The count skips unnamed points but the writer walks only that many entries:
// C is left out, and reading back takes the closing "0" for the third point.
TEST_F(PointFiles, ImcWriteGivesExactLinesAndReadsBack) {
  testing_support::DecimalCommaLocale locale;
  PointArray pts = Points({Point(L"", 1, 1, 0),
                           Point(L"A", 12.5, -3.25, 99),
                           Point(L"B", 0.0000000001, 1234567.125, 0),
                           Point(L"C", 3, 3, 0)});
  CSize size(640, 480);
  ASSERT_EQ(WriteImcFile(L"\\i.imc", L"  Bild\u00FC with blanks ", size, pts), 1);
  EXPECT_EQ(GetDeviceFile(L"\\i.imc"),
            "  Bild\xC3\xBC with blanks \n"
            "640 480\n"
            "3\n"
            "A        12.5000000000        -3.2500000000\n"
            "B         0.0000000001   1234567.1250000000\n"
            "0\n");
  CKvoString title;
  CSize got(1, 1);
  PointArray in;
  ASSERT_EQ(ReadImcFile(L"\\i.imc", title, got, in, 1), 1);
  EXPECT_EQ(title, L"Bild\u00FC with blanks");
  EXPECT_EQ(got, CSize(640, 480));
  ASSERT_EQ(in.GetSize(), 3);
  EXPECT_EQ(Fields(in[1]), Fields(Point(L"B", 0.0000000001, 1234567.125, 0)));
  EXPECT_EQ(Fields(in[2]), Fields(Point(L"0", 0, 0, 0)));
}

TEST_F(PointFiles, ImcShortOrBrokenFilesFail) {
  CKvoString title;
  CSize size;
  PointArray pts;
  PutDeviceFile(L"\\s.imc", "t\n4 5\n3\nA 1 2\nB 3 4\n");  // count 3, two point lines
  EXPECT_EQ(ReadImcFile(L"\\s.imc", title, size, pts, 1), 0);
  ASSERT_EQ(pts.GetSize(), 3);  // sized to the count; the points read stay
  EXPECT_EQ(pts[1].Y, 4);
  EXPECT_TRUE(pts[2].Name.IsEmpty());
  PutDeviceFile(L"\\h.imc", "t\n4 5\n2000000000\nA 1 2\n");
  EXPECT_EQ(ReadImcFile(L"\\h.imc", title, size, pts, 1), 0);
  EXPECT_LT(pts.GetSize(), 100);  // no huge array for a huge count
  EXPECT_EQ(pts[0].Name, L"A");
  const struct {
    const char* bytes;
    int result;
    int points;
  } cases[] = {{"", 0, 0},
               {"t\n", 0, 0},
               {"t\n4 5\n", 0, 0},
               {"t\n\n3\n", 0, 0},
               {"t\n4 5\n   \n", 0, 0},
               {"t\n4 5\n2\nA 1 2\n\nB 3 4\n", 0, 2},
               {"t\n4 5\n0\n", 1, 0},
               {"t\n4 5\n-7\n", 1, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    PutDeviceFile(L"\\b.imc", c.bytes);
    EXPECT_EQ(ReadImcFile(L"\\b.imc", title, size, pts, 1), c.result);
    EXPECT_EQ(pts.GetSize(), c.points);
  }
  EXPECT_EQ(size, CSize(4, 5));
}

TEST_F(PointFiles, ScanRecordsAreAppendedAndReadAsPointFiles) {
  PutDeviceFile(L"\\s.txt", "first\n");
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P1", 1, 2, 3)), 1);
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P2", 4, 5, 6, L"TGT")), 1);
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P3", 7, 8, 9, L"CTRL", -12), L"checked twice"), 1);
  PointArray more = Points({Point(L"P4", 0.5, 0, 0), Point(L"P5", 0, 0, -1.25, L"X")});
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", more), 1);
  EXPECT_EQ(GetDeviceFile(L"\\s.txt"),
            "first\n"
            "P1,1.000000,2.000000,3.000000\n"
            "P2,4.000000,5.000000,6.000000,TGT\n"
            "P3,7.000000,8.000000,9.000000,CTRL,-12,checked twice\n"
            "P4,0.500000,0.000000,0.000000\n"
            "P5,0.000000,0.000000,-1.250000,X\n");
  PointArray in;
  ASSERT_EQ(ReadCSVFile(L"\\s.txt", in, 1), 1);
  ASSERT_EQ(in.GetSize(), 6);
  EXPECT_EQ(Fields(in[3]), Fields(Point(L"P3", 7, 8, 9, L"CTRL", -12)));
}

TEST_F(PointFiles, LongLinesAreCutAt255BytesAndLongerOnesStopTheReader) {
  const std::wstring name(300, L'N');
  ASSERT_EQ(ScanFileAdd(L"\\l.txt", Point(name.c_str(), 1, 2, 3)), 1);
  EXPECT_EQ(GetDeviceFile(L"\\l.txt"), std::string(255, 'N'));
  // A cut never splits a multi-byte character.
  const std::wstring wide(200, L'\u00E4');  // two bytes each
  PointArray pts = Points({Point(wide.c_str(), 1, 2, 3)});
  ASSERT_EQ(WriteCSVFile(L"\\w.csv", pts, 0), 1);
  EXPECT_EQ(GetDeviceFile(L"\\w.csv"), platform::WideToUtf8(std::wstring(127, L'\u00E4')));
  // The reader takes lines up to the limit and stops at a longer one.
  const std::string atLimit = "L," + std::string(size_t(kPointFileMaxLine) - 2, '1');
  PutDeviceFile(L"\\ok.csv", "A,1,2,3\n" + atLimit + "\nB,4,5,6\n");
  ASSERT_EQ(ReadCSVFile(L"\\ok.csv", pts, 1), 1);
  EXPECT_EQ(pts.GetSize(), 3);
  PutDeviceFile(L"\\long.csv", "A,1,2,3\n" + atLimit + "1\nB,4,5,6\n");
  EXPECT_EQ(ReadCSVFile(L"\\long.csv", pts, 1), 0);
  EXPECT_EQ(pts.GetSize(), 1);  // what came before the long line
}

// A file in use is shown with its name like a refused one (tests/faults); other causes are silent.
TEST_F(PointFiles, OnlyRefusedOpensAreShown) {
  PointArray pts = Points({Point(L"A", 1, 2, 3)});
  for (int cause : {int(CFileException::sharingViolation), int(CFileException::diskFull)}) {
    boxes_.clear();
    platform::fault::Arm("file.open", 0, 1, cause);
    EXPECT_EQ(WriteCSVFile(L"\\busy.csv", pts, 0), 0);
    EXPECT_EQ(boxes_.size(), cause == CFileException::sharingViolation ? 1u : 0u) << cause;
  }
}

TEST(PointFileNames, EditFileNameDropsFolderAndExtension) {
  CKvoString a, b, c;
  EXPECT_EQ(EditFileName(L"\\Storage Card\\proj\\site.v2.csv", a) + EditFileName(L"plain", b) +
                EditFileName(L"\\a.b\\noext", c),
            3);
  EXPECT_EQ(a + L"|" + b + L"|" + c, L"site.v2|plain|noext");
}

}  // namespace
