// CCaptureWnd: NOT YET IMPLEMENTED. Temporary minimal bodies of the methods
// of the concerns still to be written (projection of survey points, modes
// and input, exposure, snapshot and JPEG, overlays, corner mode), so that the
// class links and the finished concerns can run. Each method moves out of
// this file into its own source (capture_wnd_projection.cpp,
// capture_wnd_modes.cpp, capture_wnd_exposure.cpp, capture_wnd_snapshot.cpp,
// capture_wnd_overlay.cpp, ...) when it is implemented; this file then goes.
#include "liveview/capture_wnd.h"

