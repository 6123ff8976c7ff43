#pragma once
// One frame source per camera: the tele (0) and the wide (1) camera may film
// through two sources (two devices, two files, a real camera beside the
// simulator) or share one.
#include <memory>

#include "devices/frame_source.h"

namespace devices {

class CameraSources : public FrameSource {
 public:
  CameraSources(std::shared_ptr<FrameSource> tele, std::shared_ptr<FrameSource> wide)
      : sources_{std::move(tele), std::move(wide)} {}

  void Render(const FrameRequest& request, uint16_t* pixels) override {
    Of(request.camera).Render(request, pixels);
  }
  bool Ready(int camera) override { return Of(camera).Ready(camera); }

 private:
  FrameSource& Of(int camera) { return *sources_[camera == 0 ? 0 : 1]; }
  std::shared_ptr<FrameSource> sources_[2];
};

}  // namespace devices
