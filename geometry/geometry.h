#pragma once
// Public headers of geometry/.
#include "geometry/calc_xyz_hv.h"
#include "geometry/rot.h"
#include "geometry/wpk.h"
#include "geometry/xyz.h"
