#pragma once
// Text rendering for device contexts: DejaVu Sans through FreeType, glyphs
// cached per pixel height. The font file is
// /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf unless SURVEYCAM_FONT names
// another. Without a font, text measures 0 and draws nothing.
#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

class FontRenderer {
 public:
  struct Metrics {
    int ascent = 0;      // baseline below the cell top
    int lineHeight = 0;  // distance between lines
  };
  // Coverage 1..255 of the pixel (x, y) relative to the cell's top-left.
  using Plot = std::function<void(int x, int y, uint8_t coverage)>;

  static FontRenderer& Instance();
  ~FontRenderer();

  bool Loaded() const;
  Metrics GetMetrics(int pixelHeight);
  // Advance width of the text in pixels.
  int Measure(const wchar_t* text, int count, int pixelHeight);
  // Renders one line; returns its advance width.
  int Render(const wchar_t* text, int count, int pixelHeight, const Plot& plot);

 private:
  FontRenderer();
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace platform
