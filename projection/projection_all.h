#pragma once
// Public headers of projection/.
#include "projection/projection_cap.h"
