#pragma once
// Public headers of liveview/.
#include "liveview/frame_convert.h"
#include "liveview/vcap.h"
#include "liveview/capture_wnd.h"
