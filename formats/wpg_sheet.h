// The page of a WordPerfect drawing, in the units of its file; both versions draw on it.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "draw/painter.h"
#include "formats/wpg_records.h"
#include "tavo45.h"

namespace tavo::wpg {

// Numbered as version 1's text attributes have them, where larger numbers count as 2; for Across,
// version 2, too.
enum class Across : uint8_t { kLeft, kMiddle, kRight };
enum class Up : uint8_t { kBaseLine, kMiddle, kTop, kBottom };

struct TextStyle {
  int64_t height = 0;             // in units
  Across across = Across::kLeft;  // which point of the line the position is
  Up up = Up::kBaseLine;
  int32_t angle = 0;  // of the line, in hundredths of a degree, to the left around
  T_PaletteEntry color = {};
  bool is_bold = false;
  bool is_italic = false;
  bool is_underlined = false;
  bool is_struck_out = false;
};

// Made for one band of the page. `frame` and `painter` outlive it; the frame is not empty.
class Sheet {
 public:
  // `scale`: so many pixels of the page are one at 96 per inch.
  Sheet(const Frame& frame, draw::Painter& painter, int32_t scale)
      : frame_(frame), painter_(painter), scale_(scale) {}

  int32_t scale() const { return scale_; }

  // Positions count upward from the lower left corner.
  draw::Point at(int64_t x, int64_t y) const;

  Status fill(const draw::Shape& shape, draw::FillRule rule, const draw::Brush& brush) {
    return painter_.fill(shape, rule, brush, draw::kCopyBrush);
  }
  // Lines are a pixel wide at least.
  Status stroke(const draw::Shape& shape, draw::Ends ends, int64_t width, T_PaletteEntry color);

  // `characters` of ISO 8859-1.
  Status put_text(const TextStyle& style, draw::Point position,
                  std::span<const uint8_t> characters);

 private:
  int32_t length(int64_t units) const;
  int32_t pixel() const { return draw::kSubpixels * scale_; }

  const Frame& frame_;
  draw::Painter& painter_;
  int32_t scale_;
};

}  // namespace tavo::wpg
