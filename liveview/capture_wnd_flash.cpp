// CCaptureWnd: the calibration records in the instrument's non-volatile
// memory ("EEP.DLL", items 80..99).
//
// Every operation unlocks the memory, transfers its items one call each in
// ascending order, and locks the memory again, always, also after a failure.
// The first item that fails stops the transfer with "<item name> Read" or
// "<item name> Write" (caption "Error"); values read before it stay. A never
// written memory reads as defaults, silently: item 80 for the camera record,
// items 90 (centres) and 94 (offsets) for the data record.
//
// Item layout (little-endian): 80..82 focal length and principal point X, Y
// (double, mm); 83 distortion model (int32); 84..87 K1, K2, P1, P2 (double,
// distortion parameters 0..3); 88, 89 pixel size X, Y (double, mm/pixel);
// 90..93 centres CCD1 x, y and CCD2 x, y (int16, pixels; CCD1 is camera 1,
// CCD2 camera 0); 94..96 CCD offset X, Y, Z; 97..99 CCD angles omega, phi,
// kappa (double).
#include <cstdint>
#include <functional>
#include <vector>

#include "camera/memory_items.h"
#include "liveview/capture_wnd.h"

namespace {

// One item of a transfer: where its bytes live while it travels, and what to
// do with them after a successful read.
struct ItemSlot {
  int index;
  int length;
  void* bytes;
  std::function<void()> apply;
};

// Staging storage of one record, in item order.
struct CmrBuffer {
  double focal = 0, xp = 0, yp = 0;
  int32_t model = 0;
  double k[4] = {};
  double resX = 0, resY = 0;
};
struct DatBuffer {
  int16_t center[4] = {};  // CCD1 x, y, CCD2 x, y
  double offset[3] = {};
  double angle[3] = {};
};

// Each staging field has the length of its item in the memory.
static_assert(sizeof(CmrBuffer::focal) == memory_items::Length(80) &&
              sizeof(CmrBuffer::model) == memory_items::Length(83) &&
              sizeof(CmrBuffer::k[0]) == memory_items::Length(84) &&
              sizeof(DatBuffer::center[0]) == memory_items::Length(90) &&
              sizeof(DatBuffer::offset[0]) == memory_items::Length(94));

// The half-scale mapping of SXGA mode, kept in a 16-bit slot.
int SxgaX(int x) { return int16_t(int((x - 32) * 480 * (1.0 / 960) + 0.5)); }
int SxgaY(int y) { return int16_t(int(y * 640 * (1.0 / 1280) + 0.5)); }

}  // namespace

// Runs one unlock / transfer / lock cycle. `read` chooses the direction;
// `defaults` maps an item index to the defaults that replace a failed read
// of that item (silently, ending the transfer with success).
static BOOL FlashTransfer(CCaptureWnd& wnd,
                          std::vector<ItemSlot>& slots,
                          bool read,
                          const std::function<bool(int)>& defaults) {
  // Without "EEP.DLL" (the constructor already said "Load Module Error")
  // there is no memory to reach: every operation fails quietly.
  if (!wnd.m_pUnLockDisk || !wnd.m_pSysEepRead || !wnd.m_pSysEepWrite) return FALSE;
  BOOL result = TRUE;
  if (!wnd.m_pUnLockDisk(0)) {
    wnd.MessageBox(L"Unlock Command Error", L"FlashLock", MB_OK);
    result = FALSE;
  } else {
    for (ItemSlot& slot : slots) {
      BOOL ok = read ? wnd.m_pSysEepRead(slot.bytes, slot.index, slot.length)
                     : wnd.m_pSysEepWrite(slot.bytes, slot.index, slot.length);
      if (ok) {
        if (read && slot.apply) slot.apply();
        continue;
      }
      if (read && defaults && defaults(slot.index)) break;
      CString text;
      text.Format(L"%s %s", memory_items::Name(slot.index), read ? L"Read" : L"Write");
      wnd.MessageBox(text, L"Error", MB_OK);
      result = FALSE;
      break;
    }
  }
  if (!wnd.m_pUnLockDisk(1)) {
    wnd.MessageBox(L"Lock Command Error", L"FlashLock", MB_OK);
    return FALSE;
  }
  return result;
}

static std::vector<ItemSlot> CmrSlots(CCaptureWnd& w, CmrBuffer& buffer) {
  CCamera* cam = &w.m_Camera;
  CmrBuffer* b = &buffer;
  return {
      {80, 8, &b->focal, [=] { cam->FocalLength = b->focal; }},
      {81, 8, &b->xp, [=] { cam->PrincipalPoint.X = b->xp; }},
      {82, 8, &b->yp, [=] { cam->PrincipalPoint.Y = b->yp; }},
      {83, 4, &b->model, [=] { cam->Dist.SetDistModel(DIST_MODEL(b->model)); }},
      {84, 8, &b->k[0], [=] { cam->Dist.AddPara(0, b->k[0]); }},
      {85, 8, &b->k[1], [=] { cam->Dist.AddPara(1, b->k[1]); }},
      {86, 8, &b->k[2], [=] { cam->Dist.AddPara(2, b->k[2]); }},
      {87, 8, &b->k[3], [=] { cam->Dist.AddPara(3, b->k[3]); }},
      {88, 8, &b->resX, [=] { cam->Resolution.X = b->resX; }},
      {89, 8, &b->resY, [=] { cam->Resolution.Y = b->resY; }},
  };
}

static std::vector<ItemSlot> DatSlots(CCaptureWnd& wnd, DatBuffer& buffer) {
  CCaptureWnd* w = &wnd;
  DatBuffer* b = &buffer;
  return {
      {90, 2, &b->center[0], [=] { w->m_nCenterX[1] = b->center[0]; }},
      {91, 2, &b->center[1], [=] { w->m_nCenterY[1] = b->center[1]; }},
      {92, 2, &b->center[2], [=] { w->m_nCenterX[0] = b->center[2]; }},
      {93, 2, &b->center[3], [=] { w->m_nCenterY[0] = b->center[3]; }},
      {94, 8, &b->offset[0], [=] { w->m_CcdOffset.X = b->offset[0]; }},
      {95, 8, &b->offset[1], [=] { w->m_CcdOffset.Y = b->offset[1]; }},
      {96, 8, &b->offset[2], [=] { w->m_CcdOffset.Z = b->offset[2]; }},
      {97, 8, &b->angle[0], [=] { w->m_CcdAngle.omega = b->angle[0]; }},
      {98, 8, &b->angle[1], [=] { w->m_CcdAngle.phi = b->angle[1]; }},
      {99, 8, &b->angle[2], [=] { w->m_CcdAngle.kappa = b->angle[2]; }},
  };
}

static void FillCmr(const CCaptureWnd& w, CmrBuffer& b) {
  const CCamera& cam = w.m_Camera;
  b.focal = cam.FocalLength;
  b.xp = cam.PrincipalPoint.X;
  b.yp = cam.PrincipalPoint.Y;
  b.model = int32_t(cam.Dist.GetDistModel());
  for (int i = 0; i < 4; ++i) b.k[i] = cam.Dist.GetPara(i);
  b.resX = cam.Resolution.X;
  b.resY = cam.Resolution.Y;
}

static void FillDat(const CCaptureWnd& w, DatBuffer& b) {
  b.center[0] = int16_t(w.m_nCenterX[1]);
  b.center[1] = int16_t(w.m_nCenterY[1]);
  b.center[2] = int16_t(w.m_nCenterX[0]);
  b.center[3] = int16_t(w.m_nCenterY[0]);
  b.offset[0] = w.m_CcdOffset.X;
  b.offset[1] = w.m_CcdOffset.Y;
  b.offset[2] = w.m_CcdOffset.Z;
  b.angle[0] = w.m_CcdAngle.omega;
  b.angle[1] = w.m_CcdAngle.phi;
  b.angle[2] = w.m_CcdAngle.kappa;
}

BOOL CCaptureWnd::FlashReadCmr() {
  CmrBuffer buffer;
  auto slots = CmrSlots(*this, buffer);
  return FlashTransfer(*this, slots, /*read=*/true, [this](int index) {
    if (index != 80) return false;
    CmrDataDefaultSet();
    return true;
  });
}

BOOL CCaptureWnd::FlashWriteCmr() {
  CmrBuffer buffer;
  FillCmr(*this, buffer);
  auto slots = CmrSlots(*this, buffer);
  return FlashTransfer(*this, slots, /*read=*/false, nullptr);
}

BOOL CCaptureWnd::FlashReadDat() {
  DatBuffer buffer;
  auto slots = DatSlots(*this, buffer);
  BOOL result = FlashTransfer(*this, slots, /*read=*/true, [this](int index) {
    if (index == 90) DatDataDefaultSetCenter();
    if (index == 94) DatDataDefaultSetOffset();
    return index == 90 || index == 94;
  });
  if (m_bSXGAMode) {
    for (int camera = 0; camera < 2; ++camera) {
      m_nCenterX[camera] = SxgaX(m_nCenterX[camera]);
      m_nCenterY[camera] = SxgaY(m_nCenterY[camera]);
    }
  }
  return result;
}

BOOL CCaptureWnd::FlashWriteDat() {
  DatBuffer buffer;
  FillDat(*this, buffer);
  auto slots = DatSlots(*this, buffer);
  return FlashTransfer(*this, slots, /*read=*/false, nullptr);
}

BOOL CCaptureWnd::UserCCDOffsetSet() {
  m_nCenterX[1] += m_nUserCCDOffsetX[1];
  m_nCenterY[1] += m_nUserCCDOffsetY[1];
  m_nCenterX[0] += m_nUserCCDOffsetX[0];
  m_nCenterY[0] += m_nUserCCDOffsetY[0];
  DatBuffer buffer;
  FillDat(*this, buffer);
  auto slots = DatSlots(*this, buffer);
  slots.resize(4);  // the centres only, items 90..93
  return FlashTransfer(*this, slots, /*read=*/false, nullptr);
}

BOOL CCaptureWnd::CmrDataDefaultSet() {
  m_Camera.FocalLength = 8.0;
  m_Camera.PrincipalPoint.X = 1.792;
  m_Camera.PrincipalPoint.Y = 1.344;
  m_Camera.Resolution.X = 0.0056;
  m_Camera.Resolution.Y = 0.0056;
  m_Camera.Dist.SetDistModel(DIST_NONE);
  return TRUE;
}

BOOL CCaptureWnd::DatDataDefaultSetCenter() {
  m_nCenterX[1] = 320;
  m_nCenterY[1] = 240;
  m_nCenterX[0] = 320;
  m_nCenterY[0] = 240;
  return TRUE;
}

BOOL CCaptureWnd::DatDataDefaultSetOffset() {
  m_CcdOffset.X = 0.0;
  m_CcdOffset.Y = 0.0;
  m_CcdOffset.Z = 0.0;
  m_CcdAngle.omega = 0.0;
  m_CcdAngle.phi = 0.0;
  m_CcdAngle.kappa = 0.0;
  return TRUE;
}
