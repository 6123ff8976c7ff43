#pragma once
// Public headers of image/.
#include "image/dib.h"
#include "image/dib_ex.h"
#include "image/jpeg_interface.h"
