#pragma once
// Public headers of liveview/.
#include "liveview/capture_wnd.h"
#include "liveview/frame_convert.h"
#include "liveview/vcap.h"
