#pragma once
// Public headers of photogrammetry/.
#include "photogrammetry/board_centre.h"
#include "photogrammetry/dlt.h"
#include "photogrammetry/space_intersection.h"
