#pragma once
// Public headers of files/.
#include "files/board_centre.h"
#include "files/dlt.h"
#include "files/file_messages.h"
#include "files/photogrammetry_job.h"
#include "files/point_files.h"
#include "files/project.h"
#include "files/rt_card.h"
#include "files/space_intersection.h"
#include "files/storage_messages.h"
