#pragma once
// Public headers of camera/.
#include "camera/calib_interop.h"
#include "camera/camera.h"
#include "camera/dist.h"
#include "camera/least_sq.h"
#include "camera/memory_items.h"
#include "camera/vkr3za_calib.h"
