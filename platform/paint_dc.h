#pragma once
// CPaintDC: the DC of a window's WM_PAINT. The drawing part of the platform
// does not know windows; the windows part installs a resolver that tells the
// paint DC where a window's client area lies on which framebuffer, which part
// of it needs painting, and what to do when painting ends (validate the
// window). Without a resolver, or when it answers false, the paint DC has no
// HDC and every drawing call does nothing.
#include <functional>

#include "platform/dc.h"
#include "platform/export.h"
#include "platform/types.h"

class CWnd;

struct PAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;  // client coordinates
  BOOL fRestore;
  BOOL fIncUpdate;
  BYTE rgbReserved[32];
};

namespace platform {

struct PaintTarget {
  Framebuffer* framebuffer = nullptr;
  RECT clientOnScreen{0, 0, 0, 0};  // the window's client area on the framebuffer
  RECT paint{0, 0, 0, 0};  // update rectangle in client coordinates; all zero: whole client
  bool erase = false;
  std::function<void()> endPaint;  // called once when the paint DC is destroyed
};

using PaintTargetResolver = std::function<bool(CWnd* window, PaintTarget& target)>;

// Installs the resolver and returns the previous one.
SURVEYCAM_API PaintTargetResolver SetPaintTargetResolver(PaintTargetResolver resolver);
SURVEYCAM_API bool ResolvePaintTarget(CWnd* window, PaintTarget& target);

}  // namespace platform

class SURVEYCAM_API CPaintDC : public CDC {
 public:
  explicit CPaintDC(CWnd* window);
  ~CPaintDC() override;

  PAINTSTRUCT m_ps{};

 protected:
  CWnd* m_pWnd = nullptr;

 private:
  std::function<void()> end_paint_;
};
