#pragma once
// surveycam: every public header of the library. A host includes this one
// file and links surveycam::surveycam.
#include "camera/camera_all.h"
#include "corner/corner_all.h"
#include "geometry/geometry.h"
#include "image/image_all.h"
#include "liveview/liveview_all.h"
#include "photogrammetry/photogrammetry_all.h"
#include "platform/platform.h"
#include "pointfiles/pointfiles_all.h"
#include "projection/projection_all.h"
#include "storage/storage_all.h"
