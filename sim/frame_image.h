#pragma once
// Helpers to look at sensor frames: 5-6-5 to 8-bit RGB and to files.
#include <cstdint>
#include <string>

#include "platform/framebuffer.h"

namespace sim {

// Expands a 640 x 480 5-6-5 frame (rows top to bottom) into a framebuffer.
void FrameToFramebuffer(const uint16_t* pixels, platform::Framebuffer& out);
// Writes a framebuffer as a binary PPM (P6); false when the file cannot be written.
bool WritePpm(const platform::Framebuffer& frame, const std::string& host_path);

}  // namespace sim
