#pragma once
// The view's reticle: double lines towards the centre (cx, cy), a gap around
// it and a small cross in the middle, over a client area of w x h pixels,
// drawn with the selected pen. The cursor and the user-offset cursor share it.
class CDC;

namespace liveview {

void DrawReticle(CDC* dc, int cx, int cy, int w, int h);

}  // namespace liveview
