// FreeType glyph rendering with a per-size cache.
#include "platform/font_renderer.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {
namespace {

constexpr const char* kDefaultFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

struct Glyph {
  int left = 0;  // bitmap offset from the pen position
  int top = 0;   // rows above the baseline
  int width = 0;
  int rows = 0;
  int advance = 0;
  std::vector<uint8_t> coverage;
};

}  // namespace

struct FontRenderer::Impl {
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  int currentSize = 0;
  std::mutex mutex;
  std::map<std::pair<int, wchar_t>, Glyph> glyphs;

  void SetSize(int pixelHeight) {
    if (currentSize == pixelHeight) return;
    FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixelHeight));
    currentSize = pixelHeight;
  }

  const Glyph& Get(wchar_t c, int pixelHeight) {
    auto key = std::make_pair(pixelHeight, c);
    auto found = glyphs.find(key);
    if (found != glyphs.end()) return found->second;
    SetSize(pixelHeight);
    Glyph g;
    if (FT_Load_Char(face, FT_ULong(c), FT_LOAD_RENDER) == 0) {
      const FT_GlyphSlot slot = face->glyph;
      const FT_Bitmap& bm = slot->bitmap;
      g.left = slot->bitmap_left;
      g.top = slot->bitmap_top;
      g.width = int(bm.width);
      g.rows = int(bm.rows);
      g.advance = int(slot->advance.x >> 6);
      g.coverage.resize(size_t(g.width) * size_t(g.rows));
      for (int y = 0; y < g.rows; ++y)
        for (int x = 0; x < g.width; ++x)
          g.coverage[size_t(y) * g.width + x] = bm.buffer[y * bm.pitch + x];
    }
    return glyphs.emplace(key, std::move(g)).first->second;
  }
};

FontRenderer& FontRenderer::Instance() {
  static FontRenderer renderer;
  return renderer;
}

FontRenderer::FontRenderer() : impl_(std::make_unique<Impl>()) {
  const char* path = std::getenv("SURVEYCAM_FONT");
  if (FT_Init_FreeType(&impl_->library) != 0) return;
  if (FT_New_Face(impl_->library, path && *path ? path : kDefaultFont, 0, &impl_->face) != 0)
    impl_->face = nullptr;
}

FontRenderer::~FontRenderer() {
  if (impl_->face) FT_Done_Face(impl_->face);
  if (impl_->library) FT_Done_FreeType(impl_->library);
}

bool FontRenderer::Loaded() const { return impl_->face != nullptr; }

FontRenderer::Metrics FontRenderer::GetMetrics(int pixelHeight) {
  if (!Loaded() || pixelHeight <= 0) return {};
  std::lock_guard lock(impl_->mutex);
  impl_->SetSize(pixelHeight);
  const FT_Size_Metrics& m = impl_->face->size->metrics;
  return Metrics{int((m.ascender + 63) >> 6), int((m.height + 63) >> 6)};
}

int FontRenderer::Measure(const wchar_t* text, int count, int pixelHeight) {
  if (!Loaded() || pixelHeight <= 0) return 0;
  std::lock_guard lock(impl_->mutex);
  int width = 0;
  for (int i = 0; i < count; ++i) width += impl_->Get(text[i], pixelHeight).advance;
  return width;
}

int FontRenderer::Render(const wchar_t* text, int count, int pixelHeight, const Plot& plot) {
  if (!Loaded() || pixelHeight <= 0) return 0;
  const int ascent = GetMetrics(pixelHeight).ascent;
  std::lock_guard lock(impl_->mutex);
  int pen = 0;
  for (int i = 0; i < count; ++i) {
    const Glyph& g = impl_->Get(text[i], pixelHeight);
    for (int y = 0; y < g.rows; ++y)
      for (int x = 0; x < g.width; ++x) {
        const uint8_t c = g.coverage[size_t(y) * g.width + x];
        if (c) plot(pen + g.left + x, ascent - g.top + y, c);
      }
    pen += g.advance;
  }
  return pen;
}

}  // namespace platform
