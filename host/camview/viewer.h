#pragma once
#include "host/camview/options.h"

namespace host {

// Shows the screen in a window, scaled up, and maps keys and clicks to the
// view; returns the exit status. Without SDL2 at build time it says so and
// returns 1.
int RunViewer(const Options& options);

}  // namespace host
