// CCaptureWnd: freezing the live picture and saving it as a JPEG file.
//
// Files go to <card folder>\JPEG\<yyyymmdd>\<hhmmss><T|W><zoom x 100>.jpg,
// the card folder being the registry value "PCMCIAFolder" under
// HKLM\SYSTEM\QZ7mInit\Memory ("\JPEG" at the root when that folder does
// not exist). Each step that may create something first checks the free
// space on the card: 102 KiB before making the JPEG folder, 101 KiB before
// the day folder, 100 KiB before the file.
//
// Each saved file then gets its Exif metadata (liveview/snapshot_stamp.h);
// when that fails the picture stays saved without it and the result is the
// same.
#include <mutex>

#include "image/dib_ex.h"
#include "liveview/capture_wnd.h"
#include "liveview/snapshot_stamp.h"
#include "liveview/vcap.h"
#include "platform/clock.h"
#include "platform/fs.h"
#include "platform/message_box.h"
#include "platform/message_table.h"
#include "platform/registry.h"
#include "platform/text.h"

namespace {

constexpr uint64_t kFreeForJpegFolder = 104448;
constexpr uint64_t kFreeForDayFolder = 103424;
constexpr uint64_t kFreeForFile = 102400;

std::mutex g_stamp_mutex;
image::SnapshotTags g_last_stamped;

bool EnoughSpace(const CString& folder, uint64_t needed) {
  ULARGE_INTEGER available{};
  if (!GetDiskFreeSpaceExW(folder.c_str(), &available, nullptr, nullptr)) return false;
  return available.QuadPart >= needed;
}

}  // namespace

void CCaptureWnd::SnapShot() {
  if (m_bSnapShot) return;
  if (m_pVCap) m_pVCap->StopCapture();
  m_bSnapShot = 1;
}

void CCaptureWnd::EndSnapShot() {
  if (!m_bSnapShot) return;
  if (m_pVCap) m_pVCap->StartCapture(&m_StartParam);
  m_bSnapShot = 0;
}

int CCaptureWnd::GetSnapShot() { return m_bSnapShot; }

BOOL CCaptureWnd::GetInitFolderName(wchar_t* buf) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"\\SYSTEM\\QZ7mInit\\Memory", 0, KEY_READ, &key) !=
      ERROR_SUCCESS) {
    return FALSE;
  }
  DWORD type = 0;
  DWORD size = 256;  // bytes: 127 characters and the terminator
  if (RegQueryValueExW(key, L"PCMCIAFolder", nullptr, &type, reinterpret_cast<BYTE*>(buf), &size) !=
      ERROR_SUCCESS) {
    RegCloseKey(key);
    return FALSE;
  }
  return RegCloseKey(key) == ERROR_SUCCESS;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the host calls it with this signature.
BOOL CCaptureWnd::IsFolder(CString path) {
  // Through the multibyte code page and back, as the device's search wants it.
  const std::wstring wide = platform::Utf8ToWide(platform::WideToUtf8(path.c_str()));
  WIN32_FIND_DATAW found{};
  HANDLE search = FindFirstFileW(wide.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE || search == nullptr) return FALSE;
  // The search handle stays open, as the device library always left it.
  return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? TRUE : FALSE;
}

int CCaptureWnd::WriteJpeg() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const double zoom = m_dZoom[GetCurCamera() == 0 ? 0 : 1];
  CString file_name;
  file_name.Format(L"%.2d%.2d%.2d%s%.3d.jpg",
                   now.wHour,
                   now.wMinute,
                   now.wSecond,
                   GetCurCamera() == 0 ? L"T" : L"W",
                   int(zoom * 100 + 0.5));
  CString day_folder;
  day_folder.Format(L"%.4d%.2d%.2d", now.wYear, now.wMonth, now.wDay);

  wchar_t card[256] = {};
  if (!GetInitFolderName(card)) {
    MessageBox(L"Registry Access Error", L"Error", MB_OK);
    return 0;
  }
  CString folder = IsFolder(CString(card)) ? CString(card) + L"\\JPEG" : CString(L"\\JPEG");
  // Makes a missing folder after checking the free space; false (with the
  // message shown) when it cannot.
  auto make_folder = [this](const CString& path, uint64_t needed) {
    if (IsFolder(path)) return true;
    if (!EnoughSpace(path, needed)) {
      MessageBox(TableText(platform::kMsgCardFull), L"ERROR", MB_OK);
      return false;
    }
    if (!CreateDirectoryW(path.c_str(), nullptr)) {
      MessageBox(TableText(platform::kMsgFolderError), L"ERROR", MB_OK);
      return false;
    }
    return true;
  };
  if (!make_folder(folder, kFreeForJpegFolder)) return 0;
  folder += L"\\";
  folder += day_folder;
  if (!make_folder(folder, kFreeForDayFolder)) return 0;
  if (!EnoughSpace(folder, kFreeForFile)) {
    MessageBox(TableText(platform::kMsgCardFull), L"ERROR", MB_OK);
    return 0;
  }
  CString path = folder + L"\\" + file_name;

  CDibEx image;
  GetCaptureDisplay(image);
  BeginWaitCursor();
  if (image.WriteJPEG(path)) {
    const CSize size = image.GetDimensions();
    const image::SnapshotTags tags =
        liveview::SnapshotTagsOf(*this, now, unsigned(size.cx), unsigned(size.cy));
    const bool stamped = image::ExifStamp::Stamp(path, tags) != FALSE;
    {
      std::lock_guard lock(g_stamp_mutex);
      g_last_stamped = stamped ? tags : image::SnapshotTags{};
    }
    image.Empty();
    EndWaitCursor();
    MessageBox(TableText(platform::kMsgSavedOk), nullptr, MB_ICONINFORMATION);
    return 1;
  }
  MessageBox(TableText(platform::kMsgJpgWrite), L"ERROR", MB_OK);
  EndWaitCursor();
  image.Empty();
  return 0;
}

namespace liveview {

image::SnapshotTags SnapshotTagsOf(CCaptureWnd& view,
                                   const SYSTEMTIME& taken,
                                   unsigned width,
                                   unsigned height) {
  const bool tele = view.GetCurCamera() == 0;
  image::SnapshotTags tags;
  tags.taken = taken;
  tags.camera = tele ? "TELE" : "WIDE";
  tags.focalMm = tele ? CCaptureWnd::kTelescopeFocalMm : view.m_Camera.FocalLength;
  tags.width = width;
  tags.height = height;
  tags.zenithDeg = view.m_dCurV;
  tags.horizontalDeg = view.m_dCurH;
  // The view keeps the axis point in the pipeline's order: survey Y, X, Z.
  tags.stationX = view.m_Mp.Y;
  tags.stationY = view.m_Mp.X;
  tags.stationZ = view.m_Mp.Z;
  tags.zoom = view.m_dZoom[tele ? 0 : 1];
  return tags;
}

image::SnapshotTags LastStampedTags() {
  std::lock_guard lock(g_stamp_mutex);
  return g_last_stamped;
}

}  // namespace liveview
