#include "camera/vkr3za_calib.h"

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "platform/afx_string.h"
#include "platform/message_box.h"
#include "platform/message_table.h"
#include "platform/safe_file.h"
#include "platform/text.h"
#include "platform/wnd.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kOneOver180 = 0.005555555555555556;

// Truncation toward zero as the device's conversion does it: values outside
// the int range (and NaN) give INT_MIN instead of undefined behaviour.
int TruncToInt(double value) {
  if (!(value > double(INT_MIN) - 1.0 && value < double(INT_MAX) + 1.0)) return INT_MIN;
  return int(value);
}

// The value lines: format and where each value goes.
constexpr const wchar_t* kValueFormats[10] = {
    L"%lf\t// CCD1 CENTER X\r\n",
    L"%lf\t// CCD1 CENTER Y\r\n",
    L"%lf\t// CCD2 CENTER X\r\n",
    L"%lf\t// CCD2 CENTER Y\r\n",
    L"%lf\t// CCD2 OFFSET X\r\n",
    L"%lf\t// CCD2 OFFSET Y\r\n",
    L"%lf\t// CCD2 OFFSET Z\r\n",
    L"%lf\t// CCD2 OFFSET OMEGA\r\n",
    L"%lf\t// CCD2 OFFSET PHI\r\n",
    L"%lf\t// CCD2 OFFSET KAPPA\r\n",
};

}  // namespace

VKR3ZA_CALIB::VKR3ZA_CALIB()
    : Msg(nullptr),
      MsgWnd(nullptr),
      Ccd1CenterX(320),
      Ccd1CenterY(240),
      Ccd2CenterX(320),
      Ccd2CenterY(240) {
  // The interior defaults of the instrument's cameras: 8 mm lens, 0.0056 mm
  // pixels, principal point at the centre of the 640 x 480 frame.
  Camera.FocalLength = 8.0;
  Camera.PrincipalPoint.X = 1.792;
  Camera.PrincipalPoint.Y = 1.344;
  Camera.Resolution.X = 0.0056;
  Camera.Resolution.Y = 0.0056;
  Dist.SetDistModel(DIST_NONE);
}

VKR3ZA_CALIB::VKR3ZA_CALIB(const VKR3ZA_CALIB& other) { CopyFrom(other); }

VKR3ZA_CALIB& VKR3ZA_CALIB::operator=(const VKR3ZA_CALIB& other) {
  if (this != &other) CopyFrom(other);
  return *this;
}

void VKR3ZA_CALIB::CopyFrom(const VKR3ZA_CALIB& other) {
  Msg = other.Msg;
  MsgWnd = other.MsgWnd;
  Ccd1CenterX = other.Ccd1CenterX;
  Ccd1CenterY = other.Ccd1CenterY;
  Ccd2CenterX = other.Ccd2CenterX;
  Ccd2CenterY = other.Ccd2CenterY;
  Camera = other.Camera;
  Dist = other.Dist;
  Ccd2Offset = other.Ccd2Offset;
  Ccd2Angle = other.Ccd2Angle;
}

void VKR3ZA_CALIB::SetCaptureMsg(StMessage* msg, CWnd* wnd) {
  Msg = msg;
  MsgWnd = wnd;
}

void VKR3ZA_CALIB::Report(const wchar_t* path, int entry) {
  CString text;
  text.Format(L"%s\n", path ? path : L"");
  if (Msg != nullptr) text += Msg->Text(entry);
  if (MsgWnd != nullptr)
    MsgWnd->MessageBox(text, L"ERROR", MB_OK);
  else
    MessageBoxW(nullptr, text, L"ERROR", MB_OK);
}

int VKR3ZA_CALIB::ReadText1Line(CFile& f, char* buf) {
  int length = 0;
  char c = 0;
  while (f.Read(&c, 1) == 1) {
    if (c == '\n') break;
    buf[length++] = c;
  }
  buf[length] = '\0';
  return length;
}

int VKR3ZA_CALIB::Write(const wchar_t* path) {
  platform::SafeFile file;
  if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) {
    Report(path, platform::kMsgFileOpen);
    return 0;
  }
  const double values[10] = {double(Ccd1CenterX),
                             double(Ccd1CenterY),
                             double(Ccd2CenterX),
                             double(Ccd2CenterY),
                             Ccd2Offset.X,
                             Ccd2Offset.Y,
                             Ccd2Offset.Z,
                             Ccd2Angle.omega / kPi * 180.0,
                             Ccd2Angle.phi / kPi * 180.0,
                             Ccd2Angle.kappa / kPi * 180.0};
  std::string header = std::string(kHeader) + "\r\n";
  file.Write(header.data(), UINT(header.size()));
  for (int i = 0; i < 10; ++i) {
    std::string line = platform::WideToUtf8(platform::FormatW(kValueFormats[i], values[i]));
    file.Write(line.data(), UINT(line.size()));
  }
  // A failed write spoils the save: Commit then keeps the previous file and
  // refuses, as it does for a failed flush or rename.
  return file.Commit() ? 1 : 0;
}

int VKR3ZA_CALIB::Read(const wchar_t* path) {
  CFile file;
  if (!file.Open(path, CFile::modeRead)) {
    Report(path, platform::kMsgFileOpen);
    return 0;
  }
  // A line can never be longer than the file, so this buffer cannot overflow.
  std::vector<char> line(size_t(file.GetLength()) + 1);
  if (ReadText1Line(file, line.data()) == 0) {
    Report(path, platform::kMsgInvalidFile);
    return 0;
  }
  CString header(platform::Utf8ToWide(line.data()).c_str());
  header.Trim();
  if (header.Compare(L"VKR3ZA_ORIENT_FILEVER1.0") != 0) {
    Report(path, platform::kMsgInvalidFile);
    return 0;
  }
  // A value line holding no number keeps the value scanned last; before the
  // first value line that is the field's own value.
  double value = double(Ccd1CenterX);
  for (int i = 0; i < 10; ++i) {
    if (ReadText1Line(file, line.data()) == 0 ||
        platform::ScanA(line.data(), "%lf", &value) == EOF) {
      Report(path, platform::kMsgFileRead);
      return 0;
    }
    switch (i) {
      case 0:
        Ccd1CenterX = TruncToInt(value);
        break;
      case 1:
        Ccd1CenterY = TruncToInt(value);
        break;
      case 2:
        Ccd2CenterX = TruncToInt(value);
        break;
      case 3:
        Ccd2CenterY = TruncToInt(value);
        break;
      case 4:
        Ccd2Offset.X = value;
        break;
      case 5:
        Ccd2Offset.Y = value;
        break;
      case 6:
        Ccd2Offset.Z = value;
        break;
      case 7:
        Ccd2Angle.omega = value * kPi * kOneOver180;
        break;
      case 8:
        Ccd2Angle.phi = value * kPi * kOneOver180;
        break;
      case 9:
        Ccd2Angle.kappa = value * kPi * kOneOver180;
        break;
    }
  }
  return 1;
}
