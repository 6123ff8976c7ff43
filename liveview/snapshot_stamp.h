#pragma once
// The Exif metadata of the live view's snapshots (image/exif_stamp.h), as
// CCaptureWnd::WriteJpeg stamps it into each file it saves: the time the
// file name carries, the current camera and its focal length (the
// telescope's for the tele camera, the calibrated one for the wide camera),
// the saved picture's size, the angles the picture was frozen at (UpdateAngle
// does not move a frozen view), the axis point given to SetMp and the
// camera's display zoom.
#include "image/exif_stamp.h"
#include "platform/export.h"
#include "platform/types.h"

class CCaptureWnd;

namespace liveview {

SURVEYCAM_API image::SnapshotTags SnapshotTagsOf(CCaptureWnd& view,
                                                 const SYSTEMTIME& taken,
                                                 unsigned width,
                                                 unsigned height);
// What the latest snapshot saved in this process carries (an empty camera
// when it was saved without metadata, or before the first).
SURVEYCAM_API image::SnapshotTags LastStampedTags();

}  // namespace liveview
