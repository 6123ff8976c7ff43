#pragma once
// Public headers of corner/.
#include "corner/hough.h"
#include "corner/line_seg.h"
#include "corner/median.h"
#include "corner/prc_corner.h"
#include "corner/sobel.h"
#include "corner/thinning.h"
