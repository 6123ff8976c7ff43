#pragma once
// Public headers of storage/.
#include "storage/photogrammetry_job.h"
#include "storage/project.h"
#include "storage/rt_card.h"
