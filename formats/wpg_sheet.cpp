#include "formats/wpg_sheet.h"

#include <algorithm>
#include <cstdlib>

#include "base/list.h"
#include "draw/text.h"

namespace tavo::wpg {

draw::Point Sheet::at(int64_t x, int64_t y) const {
  const draw::Canvas& canvas = painter_.canvas();
  const auto scaled = [](int64_t units, int64_t pixels, int64_t all) {
    return draw::limited((2 * units * pixels * draw::kSubpixels + all) / (2 * all));
  };
  return {scaled(x - frame_.left, canvas.width(), frame_.width),
          scaled(frame_.bottom + frame_.height - y, canvas.height(), frame_.height)};
}

// Measured across: pages have one scale, but for what rounding their sides to pixels makes.
int32_t Sheet::length(int64_t units) const { return std::abs(at(units, 0).x - at(0, 0).x); }

Status Sheet::stroke(const draw::Shape& shape, draw::Ends ends, int64_t width,
                     T_PaletteEntry color) {
  const draw::Pen pen = draw::Pen::round(std::max(length(width), pixel()));
  return painter_.stroke(shape, ends, pen, draw::solid(color), draw::kCopyBrush);
}

Status Sheet::put_text(const TextStyle& style, draw::Point position,
                       std::span<const uint8_t> characters) {
  List<int32_t> places;
  TRY(places.extend(characters.size()));
  draw::TextLine line;
  // Kept: widths of characters, which text attributes have, are not used; letters are as the font
  // has them.
  line.face.height = line.face.width = length(style.height);
  line.face.angle = style.angle;
  line.face.thinnest = pixel();
  line.face.is_bold = style.is_bold;
  line.face.is_italic = style.is_italic;
  line.face.is_underlined = style.is_underlined;
  line.face.is_struck_out = style.is_struck_out;
  for (size_t i = 0; i < characters.size(); ++i) {
    places[i] = line.length;
    line.length = draw::limited(int64_t{line.length} + line.face.advance(characters[i]));
  }
  line.characters = characters;
  line.places = places.items();
  line.origin = position;
  const int32_t back = style.across == Across::kMiddle  ? line.length / 2
                       : style.across == Across::kRight ? line.length
                                                        : 0;
  // The middle is that of what stands above the base line.
  const int32_t down = style.up == Up::kMiddle   ? line.face.ascent() / 2
                       : style.up == Up::kTop    ? line.face.ascent()
                       : style.up == Up::kBottom ? -line.face.descent()
                                                 : 0;
  line.origin = draw::point_of_text(line, -back, -down);
  return draw::draw_text(painter_, line, draw::solid(style.color), draw::kCopyBrush);
}

}  // namespace tavo::wpg
