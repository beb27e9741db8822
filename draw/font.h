// The built-in font: printable characters of ISO 8859-1 as strokes.
#pragma once

#include <cstdint>

#include "draw/shape.h"

namespace tavo::draw {

// Units in which the font is designed: letters of this size are kFontUnits from the lowest to the
// highest line of set text, without leading.
inline constexpr int32_t kFontUnits = 60;
inline constexpr int32_t kFontAscent = 54;  // above the base line
inline constexpr int32_t kFontDescent = 13;
inline constexpr int32_t kFontAverage = 26;  // width of its small letters

struct Glyph {
  uint8_t advance;
  // Strokes apart by semicolons, of points x,y; x to the right, y upward from the base line.
  const char* strokes;
};

struct CodedGlyph {
  uint8_t code;
  Glyph glyph;
};

// A mark over or below a letter, moved to its place.
struct GlyphMark {
  const char* strokes = "";
  int32_t x = 0;
  int32_t y = 0;
};

// What a character is drawn with. Of Windows' code page 1252, whose texts are as frequent, quotes,
// dashes and bullets are taken as what comes near; control characters are blank.
struct Character {
  Glyph glyph;
  GlyphMark mark;
};
Character character(uint8_t code);

// The same of the fonts named Symbol: Greek letters and signs of formulas.
Character symbol(uint8_t code);

// Calls `add(x, y)` for each point and `end()` behind each stroke; both return a status.
template <class Add, class End>
Status read_strokes(const char* text, Add add, End end) {
  const auto number = [&text] {
    const bool is_negative = *text == '-';
    if (is_negative) ++text;
    int32_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) value = 10 * value + (*text - '0');
    return is_negative ? -value : value;
  };
  while (*text != 0) {
    const int32_t x = number();
    ++text;  // a comma
    TRY(add(x, number()));
    if (*text != ' ') TRY(end());
    if (*text != 0) ++text;
  }
  return kOk;
}

}  // namespace tavo::draw
