// Point files: exact bytes written, read-back round trips in a temporary
// device root, the column rules of the comma-separated reader, the count
// quirk of the image-coordinate writer, scan-file appends, open failures and
// their messages, malformed input, non-ASCII names and a decimal-comma locale.
#include "pointfiles/point_files.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/faults.h"
#include "platform/file.h"
#include "platform/file_messages.h"
#include "platform/fs.h"
#include "tests/geometry/decimal_comma_locale.h"
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

PointArray Points(std::initializer_list<CXYZ> list) {
  PointArray a;
  for (CXYZ p : list) a.Add(p);
  return a;
}

class PointFiles : public testing_support::DeviceTest {
 protected:
  // Writes raw bytes to a device path and returns that path.
  const wchar_t* Raw(const wchar_t* path, const std::string& bytes) {
    WriteHostFile(Host(path), bytes);
    return path;
  }
  std::string Bytes(const wchar_t* path) { return ReadHostFile(Host(path)); }
  bool Exists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }
};

// ---- comma-separated point files ------------------------------------------

TEST_F(PointFiles, CsvWriteGivesExactLines) {
  PointArray pts = Points(
      {Point(L"P1", 1.5, -2.25, 1000), Point(L"BM 2", 0.0000004, 12345.6789, -0.5, L"CTRL", 9)});
  ASSERT_EQ(WriteCSVFile(L"\\pts\\a.csv", pts, 0), 0);  // folder does not exist
  CreateDirectoryW(L"\\pts", nullptr);
  ASSERT_EQ(WriteCSVFile(L"\\pts\\a.csv", pts, 0), 1);
  EXPECT_EQ(Bytes(L"\\pts\\a.csv"),
            "P1,1.500000,-2.250000,1000.000000\nBM 2,0.000000,12345.678900,-0.500000\n");
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(PointFiles, CsvWriteTruncatesAndAppendNeedsAnExistingFile) {
  PointArray one = Points({Point(L"A", 1, 2, 3)});
  PointArray two = Points({Point(L"B", 4, 5, 6)});
  EXPECT_EQ(WriteCSVFile(L"\\x.csv", one, 1), 0);  // append to a missing file
  EXPECT_FALSE(Exists(L"\\x.csv"));
  ASSERT_EQ(WriteCSVFile(L"\\x.csv", one, 0), 1);
  ASSERT_EQ(WriteCSVFile(L"\\x.csv", two, 1), 1);
  EXPECT_EQ(Bytes(L"\\x.csv"), "A,1.000000,2.000000,3.000000\nB,4.000000,5.000000,6.000000\n");
  ASSERT_EQ(WriteCSVFile(L"\\x.csv", two, 0), 1);
  EXPECT_EQ(Bytes(L"\\x.csv"), "B,4.000000,5.000000,6.000000\n");
  PointArray none;
  ASSERT_EQ(WriteCSVFile(L"\\x.csv", none, 0), 1);
  EXPECT_EQ(Bytes(L"\\x.csv"), "");
}

TEST_F(PointFiles, CsvRoundTrip) {
  PointArray out;
  for (int i = 0; i < 50; ++i) {
    CXYZ p(platform::FormatW(L"T%03d", i).c_str(),
           1000 + i * 1.234567,
           2000 - i * 0.5,
           50 + i * 0.001);
    out.Add(p);
  }
  ASSERT_EQ(WriteCSVFile(L"\\site.csv", out, 0), 1);
  PointArray in = Points({Point(L"stale", 9, 9, 9)});
  ASSERT_EQ(ReadCSVFile(L"\\site.csv", in, 1), 1);
  ASSERT_EQ(in.GetSize(), 50);
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(in[i].Name, out[i].Name);
    EXPECT_NEAR(in[i].X, out[i].X, 5e-7);  // six decimals written
    EXPECT_NEAR(in[i].Y, out[i].Y, 5e-7);
    EXPECT_NEAR(in[i].Z, out[i].Z, 5e-7);
    EXPECT_TRUE(in[i].Code.IsEmpty());
  }
}

TEST_F(PointFiles, CsvColumnsAreTrimmedAndOptional) {
  Raw(L"\\c.csv",
      "P1, 10.5 ,20,30\n"
      "\n"
      ",1,2,3\n"
      "  ,4,5,6\n"
      "Q ,1e3, -2.5e-1 , 7 , CODE 1 , 42 \r\n"
      "R,1,2,3,C,5,extra,columns\n"
      "S,abc,,\n"
      "T\n"
      "\r\n"
      "U,1,2,3");  // no final line feed
  PointArray pts;
  ASSERT_EQ(ReadCSVFile(L"\\c.csv", pts, 1), 1);
  ASSERT_EQ(pts.GetSize(), 6);
  EXPECT_EQ(pts[0].Name, L"P1");
  EXPECT_EQ(pts[0].X, 10.5);
  EXPECT_EQ(pts[0].Y, 20);
  EXPECT_EQ(pts[0].Z, 30);
  EXPECT_TRUE(pts[0].Code.IsEmpty());
  EXPECT_EQ(pts[0].Num, 0);

  EXPECT_EQ(pts[1].Name, L"Q");
  EXPECT_EQ(pts[1].X, 1000);
  EXPECT_EQ(pts[1].Y, -0.25);
  EXPECT_EQ(pts[1].Z, 7);
  EXPECT_EQ(pts[1].Code, L"CODE 1");
  EXPECT_EQ(pts[1].Num, 42);

  // The sixth column is the rest of the line: "5,extra,columns".
  EXPECT_EQ(pts[2].Code, L"C");
  EXPECT_EQ(pts[2].Num, 5);

  EXPECT_EQ(pts[3].Name, L"S");  // unreadable and missing numbers give 0
  EXPECT_EQ(pts[3].X, 0);
  EXPECT_EQ(pts[3].Y, 0);
  EXPECT_EQ(pts[4].Name, L"T");
  EXPECT_EQ(pts[5].Name, L"U");
  EXPECT_EQ(pts[5].Z, 3);
}

TEST_F(PointFiles, CsvMissingFile) {
  PointArray pts = Points({Point(L"stale", 1, 2, 3)});
  EXPECT_EQ(ReadCSVFile(L"\\none.csv", pts, 1), 0);
  EXPECT_FALSE(Exists(L"\\none.csv"));
  EXPECT_EQ(pts.GetSize(), 0);

  pts = Points({Point(L"stale", 1, 2, 3)});
  EXPECT_EQ(ReadCSVFile(L"\\none.csv", pts, 0), 1);
  EXPECT_TRUE(Exists(L"\\none.csv"));
  EXPECT_EQ(Bytes(L"\\none.csv"), "");
  EXPECT_EQ(pts.GetSize(), 0);
  EXPECT_EQ(ReadCSVFile(L"\\no\\such\\dir.csv", pts, 0), 0);  // cannot be created
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(PointFiles, CsvLineLimit) {
  const std::string atLimit = "L," + std::string(size_t(kPointFileMaxLine) - 2, '1');
  PointArray pts;
  Raw(L"\\ok.csv", "A,1,2,3\n" + atLimit + "\nB,4,5,6\n");
  ASSERT_EQ(ReadCSVFile(L"\\ok.csv", pts, 1), 1);
  EXPECT_EQ(pts.GetSize(), 3);

  Raw(L"\\long.csv", "A,1,2,3\n" + atLimit + "1\nB,4,5,6\n");
  EXPECT_EQ(ReadCSVFile(L"\\long.csv", pts, 1), 0);
  EXPECT_EQ(pts.GetSize(), 1);  // what came before the long line
  Raw(L"\\huge.csv", std::string(1 << 20, 'x'));
  EXPECT_EQ(ReadCSVFile(L"\\huge.csv", pts, 1), 0);
  EXPECT_EQ(CFile::OpenFiles(), 0);
}

TEST_F(PointFiles, CsvBinaryGarbageReadsSafely) {
  std::string garbage;
  uint32_t seed = 12345;
  for (int i = 0; i < 20000; ++i) {
    seed = seed * 1664525u + 1013904223u;
    garbage += char(seed >> 24);
  }
  garbage[100] = '\0';
  Raw(L"\\bin.csv", garbage);
  PointArray pts;
  const int ok = ReadCSVFile(L"\\bin.csv", pts, 1);
  EXPECT_EQ(ok, 1);  // random bytes give a line feed every ~256 bytes: no line is too long
  for (const CXYZ& p : pts) {
    EXPECT_FALSE(p.Name.IsEmpty());
    EXPECT_EQ(p.Name.Find(L','), -1);
  }
  EXPECT_EQ(CFile::OpenFiles(), 0);
}

TEST_F(PointFiles, NonAsciiNamesAreWrittenAsUtf8AndReadBack) {
  const wchar_t* name = L"Punkt\u00E4\u6E2C\u70B9";
  PointArray out = Points({Point(name, 1, 2, 3)});
  ASSERT_EQ(WriteCSVFile(L"\\u.csv", out, 0), 1);
  EXPECT_EQ(Bytes(L"\\u.csv"),
            "Punkt\xC3\xA4\xE6\xB8\xAC\xE7\x82\xB9,1.000000,2.000000,3.000000\n");
  PointArray in;
  ASSERT_EQ(ReadCSVFile(L"\\u.csv", in, 1), 1);
  ASSERT_EQ(in.GetSize(), 1);
  EXPECT_EQ(in[0].Name, name);

  CSize size(320, 240);
  ASSERT_EQ(WriteImcFile(L"\\u.imc", L"Bild\u00FC", size, out), 1);
  CKvoString title;
  ASSERT_EQ(ReadImcFile(L"\\u.imc", title, size, in, 1), 1);
  EXPECT_EQ(title, L"Bild\u00FC");
  EXPECT_EQ(in[0].Name, name);
}

TEST_F(PointFiles, FilesKeepADecimalPointUnderADecimalCommaLocale) {
  testing_support::DecimalCommaLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no decimal-comma locale available";
  PointArray out = Points({Point(L"P", 1.5, -2.25, 3.125)});
  ASSERT_EQ(WriteCSVFile(L"\\d.csv", out, 0), 1);
  EXPECT_EQ(Bytes(L"\\d.csv"), "P,1.500000,-2.250000,3.125000\n");
  PointArray in;
  ASSERT_EQ(ReadCSVFile(L"\\d.csv", in, 1), 1);
  ASSERT_EQ(in.GetSize(), 1);
  EXPECT_EQ(in[0].X, 1.5);
  EXPECT_EQ(in[0].Y, -2.25);
  EXPECT_EQ(in[0].Z, 3.125);

  CSize size(640, 480);
  ASSERT_EQ(WriteImcFile(L"\\d.imc", L"t", size, out), 1);
  EXPECT_NE(Bytes(L"\\d.imc").find("1.5000000000"), std::string::npos);
  CKvoString title;
  ASSERT_EQ(ReadImcFile(L"\\d.imc", title, size, in, 1), 1);
  EXPECT_EQ(in[0].Y, -2.25);

  ASSERT_EQ(ScanFileAdd(L"\\d.scn", out[0], L"n"), 1);
  EXPECT_EQ(Bytes(L"\\d.scn"), "P,1.500000,-2.250000,3.125000,,0,n\n");
}

// ---- image-coordinate files -----------------------------------------------

TEST_F(PointFiles, ImcWriteGivesExactLines) {
  PointArray pts =
      Points({Point(L"A", 12.5, -3.25, 99), Point(L"B", 0.0000000001, 1234567.125, 0)});
  CSize size(640, 480);
  ASSERT_EQ(WriteImcFile(L"\\i.imc", L"IMG_0001.jpg", size, pts), 1);
  EXPECT_EQ(Bytes(L"\\i.imc"),
            "IMG_0001.jpg\n"
            "640 480\n"
            "2\n"
            "A        12.5000000000        -3.2500000000\n"
            "B         0.0000000001   1234567.1250000000\n"
            "0\n");
}

TEST_F(PointFiles, ImcCountSkipsUnnamedPointsButWalksOnlyThatMany) {
  PointArray pts = Points({Point(L"", 1, 1, 0), Point(L"A", 2, 2, 0), Point(L"B", 3, 3, 0)});
  CSize size(10, 20);
  ASSERT_EQ(WriteImcFile(L"\\q.imc", L"t", size, pts), 1);
  EXPECT_EQ(Bytes(L"\\q.imc"), "t\n10 20\n2\nA         2.0000000000         2.0000000000\n0\n");
  // Read back, that file claims two points but holds one.
  CKvoString title;
  PointArray in;
  EXPECT_EQ(ReadImcFile(L"\\q.imc", title, size, in, 1), 1);  // "0" reads as point 2
  ASSERT_EQ(in.GetSize(), 2);
  EXPECT_EQ(in[0].Name, L"A");
  EXPECT_EQ(in[1].Name, L"0");
}

TEST_F(PointFiles, ImcRoundTrip) {
  PointArray out;
  for (int i = 0; i < 30; ++i) {
    CXYZ p(platform::FormatW(L"F%d", i).c_str(), i * 10.123456789, -i * 3.3, 0.0);
    out.Add(p);
  }
  CSize size(1280, 960);
  ASSERT_EQ(WriteImcFile(L"\\r.imc", L"  title with blanks ", size, out), 1);
  CKvoString title;
  CSize got(1, 1);
  PointArray in;
  ASSERT_EQ(ReadImcFile(L"\\r.imc", title, got, in, 1), 1);
  EXPECT_EQ(title, L"title with blanks");
  EXPECT_EQ(got, CSize(1280, 960));
  ASSERT_EQ(in.GetSize(), 30);
  for (int i = 0; i < 30; ++i) {
    EXPECT_EQ(in[i].Name, out[i].Name);
    EXPECT_NEAR(in[i].X, out[i].X, 5e-11);  // ten decimals written
    EXPECT_NEAR(in[i].Y, out[i].Y, 5e-11);
  }
}

TEST_F(PointFiles, ImcShortOrBrokenFilesFail) {
  CKvoString title;
  CSize size;
  PointArray pts;
  // count 3, two point lines
  Raw(L"\\s.imc", "t\n4 5\n3\nA 1 2\nB 3 4\n");
  EXPECT_EQ(ReadImcFile(L"\\s.imc", title, size, pts, 1), 0);
  ASSERT_EQ(pts.GetSize(), 3);  // sized to the count; the points read stay
  EXPECT_EQ(pts[1].Name, L"B");
  EXPECT_EQ(pts[1].Y, 4);
  EXPECT_TRUE(pts[2].Name.IsEmpty());

  const char* broken[] = {
      "", "t\n", "t\n4 5\n", "t\n\n3\n", "t\n4 5\n   \n", "t\n4 5\n2\nA 1 2\n\nB 3 4\n"};
  for (const char* bytes : broken) {
    Raw(L"\\b.imc", bytes);
    EXPECT_EQ(ReadImcFile(L"\\b.imc", title, size, pts, 1), 0) << bytes;
  }
  Raw(L"\\z.imc", "t\n4 5\n0\n");
  EXPECT_EQ(ReadImcFile(L"\\z.imc", title, size, pts, 1), 1);
  EXPECT_EQ(pts.GetSize(), 0);
  EXPECT_EQ(size, CSize(4, 5));
  Raw(L"\\n.imc", "t\n4 5\n-7\n");
  EXPECT_EQ(ReadImcFile(L"\\n.imc", title, size, pts, 1), 1);
  EXPECT_EQ(pts.GetSize(), 0);
}

TEST_F(PointFiles, ImcHugeCountFailsWithoutAHugeArray) {
  CKvoString title;
  CSize size;
  PointArray pts;
  Raw(L"\\h.imc", "t\n4 5\n2000000000\nA 1 2\n");
  EXPECT_EQ(ReadImcFile(L"\\h.imc", title, size, pts, 1), 0);
  EXPECT_LT(pts.GetSize(), 100);
  EXPECT_EQ(pts[0].Name, L"A");
}

TEST_F(PointFiles, ImcMissingFile) {
  CKvoString title(L"old");
  CSize size(7, 8);
  PointArray pts = Points({Point(L"stale", 1, 2, 3)});
  EXPECT_EQ(ReadImcFile(L"\\m.imc", title, size, pts, 1), 0);
  EXPECT_FALSE(Exists(L"\\m.imc"));
  EXPECT_EQ(ReadImcFile(L"\\m.imc", title, size, pts, 0), 0);  // created, then empty
  EXPECT_TRUE(Exists(L"\\m.imc"));
  EXPECT_EQ(pts.GetSize(), 0);
  EXPECT_EQ(size, CSize(7, 8));
}

// ---- scan files -----------------------------------------------------------

TEST_F(PointFiles, ScanRecordsAreAppended) {
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P1", 1, 2, 3)), 1);
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P2", 4, 5, 6, L"TGT")), 1);
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P3", 7, 8, 9, L"CTRL", -12), L"checked twice"), 1);
  PointArray more = Points({Point(L"P4", 0.5, 0, 0), Point(L"P5", 0, 0, -1.25, L"X")});
  ASSERT_EQ(ScanFileAdd(L"\\s.txt", more), 1);
  EXPECT_EQ(Bytes(L"\\s.txt"),
            "P1,1.000000,2.000000,3.000000\n"
            "P2,4.000000,5.000000,6.000000,TGT\n"
            "P3,7.000000,8.000000,9.000000,CTRL,-12,checked twice\n"
            "P4,0.500000,0.000000,0.000000\n"
            "P5,0.000000,0.000000,-1.250000,X\n");
  // A scan file is a point file too.
  PointArray in;
  ASSERT_EQ(ReadCSVFile(L"\\s.txt", in, 1), 1);
  ASSERT_EQ(in.GetSize(), 5);
  EXPECT_EQ(in[2].Code, L"CTRL");
  EXPECT_EQ(in[2].Num, -12);
  EXPECT_EQ(boxes_.size(), 0u);
  EXPECT_EQ(CFile::OpenFiles(), 0);
}

TEST_F(PointFiles, ScanFileOpenPositionsAtTheEnd) {
  Raw(L"\\o.txt", "first\n");
  CFile file;
  ASSERT_EQ(ScanFileOpen(&file, L"\\o.txt"), 1);
  EXPECT_EQ(file.GetPosition(), 6u);
  file.Write("x\n", 2);
  EXPECT_EQ(ScanFileClose(&file), 1);
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(Bytes(L"\\o.txt"), "first\nx\n");
  EXPECT_EQ(ScanFileOpen(&file, L""), 0);
  EXPECT_EQ(ScanFileOpen(&file, nullptr), 0);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(PointFiles, LongLinesAreCutAt255Bytes) {
  const std::wstring name(300, L'N');
  ASSERT_EQ(ScanFileAdd(L"\\l.txt", Point(name.c_str(), 1, 2, 3)), 1);
  EXPECT_EQ(Bytes(L"\\l.txt"), std::string(255, 'N'));
  // A cut never splits a multi-byte character.
  const std::wstring wide(200, L'\u00E4');  // two bytes each
  PointArray pts = Points({Point(wide.c_str(), 1, 2, 3)});
  ASSERT_EQ(WriteCSVFile(L"\\w.csv", pts, 0), 1);
  const std::string bytes = Bytes(L"\\w.csv");
  EXPECT_EQ(bytes.size(), 254u);
  EXPECT_EQ(platform::WideToUtf8(platform::Utf8ToWide(bytes)), bytes);
}

// ---- open failures and their messages --------------------------------------

TEST_F(PointFiles, AccessRefusedIsShownWithTheFileName) {
  PointArray pts = Points({Point(L"A", 1, 2, 3)});
  for (int cause : {CFileException::accessDenied, CFileException::sharingViolation}) {
    boxes_.clear();
    platform::fault::Arm("file.open", 0, 1, cause);
    EXPECT_EQ(WriteCSVFile(L"\\busy.csv", pts, 0), 0);
    ASSERT_EQ(boxes_.size(), 1u) << cause;
    EXPECT_NE(boxes_.LastText().find(L"\\busy.csv"), std::wstring::npos);
    EXPECT_NE(boxes_.LastText().find(L"refused"), std::wstring::npos);
    EXPECT_EQ(boxes_.LastCaption(), L"ERROR");
  }
  boxes_.clear();
  ASSERT_EQ(WriteCSVFile(L"\\busy.csv", pts, 0), 1);
  platform::fault::Arm("file.open", 0, 1, CFileException::accessDenied);
  CKvoString title;
  CSize size;
  EXPECT_EQ(ReadImcFile(L"\\busy.csv", title, size, pts, 1), 0);
  EXPECT_EQ(boxes_.size(), 1u);
  platform::fault::Arm("file.open", 0, 1, CFileException::accessDenied);
  EXPECT_EQ(ReadCSVFile(L"\\busy.csv", pts, 1), 0);
  EXPECT_EQ(boxes_.size(), 2u);
}

TEST_F(PointFiles, OtherOpenFailuresAreSilent) {
  PointArray pts = Points({Point(L"A", 1, 2, 3)});
  platform::fault::Arm("file.open", 0, 1, CFileException::fileNotFound);
  EXPECT_EQ(WriteCSVFile(L"\\a.csv", pts, 0), 0);
  platform::fault::Arm("file.open", 0, 1, CFileException::diskFull);
  CSize size;
  EXPECT_EQ(WriteImcFile(L"\\a.imc", L"t", size, pts), 0);
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST_F(PointFiles, ScanOpenFailureShowsItsBoxes) {
  CreateDirectoryW(L"\\dir", nullptr);
  EXPECT_EQ(ScanFileAdd(L"\\nowhere\\s.txt", Point(L"P", 1, 2, 3)), 0);
  ASSERT_EQ(boxes_.size(), 2u);
  EXPECT_EQ(boxes_.calls()[0].caption, L"ScanFileOpen");
  EXPECT_EQ(boxes_.calls()[0].text, L"");
  EXPECT_EQ(boxes_.calls()[1].caption, L"ScanFileAdd");

  boxes_.clear();
  platform::fault::Arm("file.open", 0, 1, CFileException::sharingViolation);
  EXPECT_EQ(ScanFileAdd(L"\\s.txt", Point(L"P", 1, 2, 3), L"note"), 0);
  ASSERT_EQ(boxes_.size(), 3u);
  EXPECT_NE(boxes_.calls()[0].text.find(L"\\s.txt"), std::wstring::npos);
  EXPECT_EQ(boxes_.calls()[1].caption, L"ScanFileOpen");
  EXPECT_EQ(boxes_.calls()[2].caption, L"ScanFileAdd");
  EXPECT_EQ(CFile::OpenFiles(), 0);
}

TEST_F(PointFiles, WriteFailuresReturnZero) {
  PointArray pts = Points({Point(L"A", 1, 2, 3), Point(L"B", 1, 2, 3)});
  platform::fault::Arm("file.write", 1, 1);
  EXPECT_EQ(WriteCSVFile(L"\\f.csv", pts, 0), 0);
  platform::fault::Arm("file.write", 0, 1);
  CSize size;
  EXPECT_EQ(WriteImcFile(L"\\f.imc", L"t", size, pts), 0);
  platform::fault::Arm("file.write", 0, 1);
  EXPECT_EQ(ScanFileAdd(L"\\f.txt", pts), 0);
  EXPECT_EQ(CFile::OpenFiles(), 0);
}

TEST_F(PointFiles, NullOrEmptyPathsFailAtOnce) {
  PointArray pts = Points({Point(L"A", 1, 2, 3)});
  CKvoString text(L"keep");
  CSize size;
  for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L""}) {
    EXPECT_EQ(WriteCSVFile(path, pts, 0), 0);
    EXPECT_EQ(ReadCSVFile(path, pts, 0), 0);
    EXPECT_EQ(WriteImcFile(path, L"t", size, pts), 0);
    EXPECT_EQ(ReadImcFile(path, text, size, pts, 0), 0);
    EXPECT_EQ(ScanFileAdd(path, pts[0]), 0);
    EXPECT_EQ(ScanFileAdd(path, pts[0], L"n"), 0);
    EXPECT_EQ(ScanFileAdd(path, pts), 0);
    EXPECT_EQ(EditFileName(path, text), 0);
  }
  EXPECT_EQ(pts.GetSize(), 1);  // not emptied
  EXPECT_EQ(text, L"keep");
  EXPECT_EQ(boxes_.size(), 0u);
}

TEST(PointFileNames, EditFileNameDropsFolderAndExtension) {
  CKvoString name;
  EXPECT_EQ(EditFileName(L"\\Storage Card\\proj\\site.v2.csv", name), 1);
  EXPECT_EQ(name, L"site.v2");
  EXPECT_EQ(EditFileName(L"plain", name), 1);
  EXPECT_EQ(name, L"plain");
  EXPECT_EQ(EditFileName(L"\\a.b\\noext", name), 1);
  EXPECT_EQ(name, L"noext");
}

}  // namespace
