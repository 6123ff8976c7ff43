#include "liveview/reticle.h"

#include "platform/dc.h"

namespace liveview {

void DrawReticle(CDC* dc, int cx, int cy, int w, int h) {
  auto line = [dc](int x0, int y0, int x1, int y1) {
    dc->MoveTo(x0, y0);
    dc->LineTo(x1, y1);
  };
  line(0, cy - 2, cx - 11, cy - 2);
  line(0, cy + 2, cx - 11, cy + 2);
  line(cx + 12, cy, w, cy);
  line(cx, 0, cx, cy - 11);
  line(cx - 2, cy + 12, cx - 2, h);
  line(cx + 2, cy + 12, cx + 2, h);
  line(cx - 5, cy, cx + 6, cy);
  line(cx, cy - 5, cx, cy + 6);
}

}  // namespace liveview
