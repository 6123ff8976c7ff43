#pragma once
// Public headers of pointfiles/.
#include "pointfiles/point_files.h"
