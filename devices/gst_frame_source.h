#pragma once
// A frame source over a GStreamer pipeline: a camera (v4l2src), a recorded
// video (filesrc ! decodebin), a network stream (rtspsrc ! decodebin) or a
// test pattern (videotestsrc). The description given ends where the source
// appends its own tail,
//   ! videoconvert ! videoscale ! capsfilter ! appsink
// which turns every picture into the sensor's 640 x 480 frame in the
// driver's 5-6-5 word (GStreamer's BGR16: blue in the high bits), so the
// only copy of ours is the one into the driver's buffer. The sink keeps one
// buffer and drops older ones: the latest frame wins.
//
// Exposure: the start record's brightness (-112..143) goes to the camera's
// brightness (else exposure) control when the pipeline has a v4l2src that
// offers one, otherwise it is a software gain on the frame, the gain the
// simulated sensor applies for the same value.
//
// A pipeline that does not start, that delivers no frame within the start
// timeout, or that posts an error later makes Ready() false for good; the
// capture driver then fails its requests. Every wait is bounded.
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "devices/frame_source.h"

namespace devices {

struct GstSourceOptions {
  bool loop = true;             // at the end of a file start again; false: hold the last frame
  int start_timeout_ms = 5000;  // to reach playing and deliver the first frame
  int frame_wait_ms = 40;       // longest wait for a new frame before the last is served again
};

class GstFrameSource : public FrameSource {
 public:
  explicit GstFrameSource(std::string description, GstSourceOptions options = {});
  ~GstFrameSource() override;
  GstFrameSource(const GstFrameSource&) = delete;
  GstFrameSource& operator=(const GstFrameSource&) = delete;

  // Builds the pipeline and sets it playing; false (and Error()) when it
  // cannot be built or refuses to start.
  bool Start();
  void Render(const FrameRequest& request, uint16_t* pixels) override;
  bool Ready(int camera) override;

  const std::string& description() const { return description_; }
  std::string Error() const;
  // True when the brightness goes to a camera control, not a software gain.
  bool HasCameraControl() const;
  // New pictures taken from the pipeline so far (a frame served again for
  // want of a new one does not count).
  uint64_t FramesPulled() const;
  // When the picture last served left the pipeline (steady clock).
  std::chrono::steady_clock::time_point LastArrival() const;

  // Pipelines built and not yet finalized by GStreamer, in this process.
  static int LivePipelines();

 private:
  struct Impl;
  std::string description_;
  std::unique_ptr<Impl> impl_;
};

}  // namespace devices
