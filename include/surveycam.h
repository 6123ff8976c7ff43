#pragma once
// surveycam: every public header of the library. A host includes this one
// file and links surveycam::surveycam.
#include "platform/platform.h"
#include "geometry/geometry.h"
#include "camera/camera_all.h"
#include "projection/projection_all.h"
#include "image/image_all.h"
#include "corner/corner_all.h"
#include "files/files_all.h"
#include "liveview/liveview_all.h"
