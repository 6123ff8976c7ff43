// CPaintDC over the window code's paint-target resolver.
#include "platform/paint_dc.h"

#include <mutex>
#include <utility>

namespace platform {
namespace {
PaintTargetResolver& Resolver() {
  static PaintTargetResolver resolver;
  return resolver;
}
}  // namespace

PaintTargetResolver SetPaintTargetResolver(PaintTargetResolver resolver) {
  return std::exchange(Resolver(), std::move(resolver));
}

bool ResolvePaintTarget(CWnd* window, PaintTarget& target) {
  return Resolver() && Resolver()(window, target) && target.framebuffer != nullptr;
}

}  // namespace platform

CPaintDC::CPaintDC(CWnd* window) : m_pWnd(window) {
  platform::PaintTarget target;
  if (!platform::ResolvePaintTarget(window, target)) return;
  const RECT& p = target.paint;
  const bool whole = p.left == 0 && p.top == 0 && p.right == 0 && p.bottom == 0;
  AttachFramebuffer(target.framebuffer, target.clientOnScreen, whole ? nullptr : &target.paint);
  end_paint_ = std::move(target.endPaint);
  m_ps.hdc = m_hDC;
  m_ps.fErase = target.erase ? TRUE : FALSE;
  m_ps.rcPaint = target.paint;
}

CPaintDC::~CPaintDC() {
  DeleteDC();
  if (end_paint_) end_paint_();
}
