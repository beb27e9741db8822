// Lines of text in the built-in font.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "draw/font.h"
#include "draw/geometry.h"
#include "draw/painter.h"

namespace tavo::draw {

// Lengths are subpixels.
struct TextFace {
  int32_t width = 0;              // of the em, along the line
  int32_t height = 0;             // across
  int32_t angle = 0;              // of the line, in hundredths of a degree, to the left around
  int32_t thinnest = kSubpixels;  // that a stroke may become
  bool is_bold = false;
  bool is_italic = false;
  bool is_underlined = false;
  bool is_struck_out = false;
  bool is_symbol = false;  // the characters are those of the fonts named Symbol

  int32_t ascent() const { return part(height, kFontAscent); }
  int32_t descent() const { return part(height, kFontDescent); }
  int32_t advance(uint8_t code) const;
  Character character(uint8_t code) const {
    return is_symbol ? symbol(code) : draw::character(code);
  }

  static int32_t part(int32_t length, int32_t units);
};

struct TextLine {
  TextFace face;
  Point origin;                         // on the base line
  std::span<const uint8_t> characters;  // ISO 8859-1
  std::span<const int32_t> places;      // of each of them, from the origin along the line
  int32_t length = 0;                   // of the whole line
};

Status draw_text(Painter& painter, const TextLine& line, const Brush& brush, RasterOp operation);

// Fills where the line stands.
Status fill_behind_text(Painter& painter, const TextLine& line, const Brush& brush);

// A point that is so far along a line and above its base line.
Point point_of_text(const TextLine& line, int32_t along, int32_t above);

}  // namespace tavo::draw
