// What the records of a metafile set and restore.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "draw/geometry.h"
#include "draw/region.h"
#include "formats/wmf_bitmaps.h"
#include "tavo45.h"

namespace tavo::wmf {

// The red byte comes first ([MS-WMF] 2.2.2.8).
constexpr T_PaletteEntry color_of(uint32_t color) {
  return {static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
          static_cast<uint8_t>(color), 0};
}

// Until one is selected: GDI's stock objects, a black pen of a pixel, a white brush and the
// system's font.
struct PenObject {
  uint16_t style = 0;  // PenStyle ([MS-WMF] 2.1.1.23), its low four bits
  int32_t width = 0;   // in units of the window
  T_PaletteEntry color = {};
};

struct BrushObject {
  uint16_t style = 0;  // BrushStyle (2.1.1.4)
  uint16_t hatch = 0;  // HatchStyle (2.1.1.12)
  T_PaletteEntry color = {255, 255, 255, 0};
  uint64_t pattern = 0;  // where in the file the bitmap is
  uint64_t pattern_bytes = 0;
  BitmapForm form;
};

struct FontObject {
  int32_t height = 0;  // of capitals and descenders with their leading; negative: of letters alone
  int32_t width = 0;   // of a usual letter; 0: as it is designed
  int32_t escapement = 0;  // of the line, in tenths of a degree, to the left around
  int32_t weight = 400;    // 400 is normal, 700 bold
  bool is_italic = false;
  bool is_underlined = false;
  bool is_struck_out = false;
  bool is_symbol = false;
};

// How positions of the window become positions on a page.
struct Mapping {
  // What the window is stretched to, in subpixels, and what that is in pixels at 96 per inch.
  int32_t width = 0, height = 0;
  int32_t pixel_width = 0, pixel_height = 0;
  // MM_ANISOTROPIC, in which players of placeable files begin, as these set none as a rule.
  int32_t mode = 8;
  int32_t x_origin = 0, y_origin = 0;
  int32_t x_extent = 1, y_extent = 1;

  int32_t left = 0, top = 0;  // where the page begins, in subpixels

  int32_t x(int64_t position) const { return limited_ratio(position - x_origin, x_ratio()) - left; }
  int32_t y(int64_t position) const { return limited_ratio(position - y_origin, y_ratio()) - top; }
  draw::Point at(int64_t px, int64_t py) const { return {x(px), y(py)}; }
  // Of lengths, without their sign.
  int32_t length_x(int64_t length) const;
  int32_t length_y(int64_t length) const;

 private:
  struct Ratio {
    int64_t numerator;
    int64_t denominator;  // above 0
  };
  Ratio ratio(int32_t to, int32_t pixels, int32_t extent, bool is_vertical) const;
  Ratio x_ratio() const { return ratio(width, pixel_width, x_extent, false); }
  Ratio y_ratio() const { return ratio(height, pixel_height, y_extent, true); }
  static int32_t limited_ratio(int64_t value, const Ratio& by);
};

struct State {
  Mapping mapping;
  PenObject pen;
  BrushObject brush;
  FontObject font;
  bool is_opaque = true;  // behind texts, hatches
  T_PaletteEntry background = {255, 255, 255, 0};
  T_PaletteEntry text = {};
  uint32_t rop2 = 13;  // R2_COPYPEN
  bool is_winding = false;
  uint32_t text_align = 0;  // left, top
  int32_t x = 0, y = 0;     // where lines go on, in the window
  bool has_clip = false;
};

// The state in force and those that were saved. Deeper than kMostSaved nothing is saved.
class States {
 public:
  // GDI has no such bound; here they are part of the player, whatever a file saves.
  static constexpr int32_t kMostSaved = 32;

  State now;
  draw::Region clip;  // used when now.has_clip

  Status save();
  // `level`: negative from the last one, -1; else counted from the first one, 1.
  Status restore(int32_t level);

  // A record that sets what is in `now` beside objects and clips; false for others. `words` are all
  // of its parameters, or at least four of them.
  bool take(uint16_t function, std::span<const int16_t> words);

 private:
  struct Saved {
    State state;
    draw::Region clip;
  };
  std::array<Saved, kMostSaved> saved_;
  int32_t count_ = 0;
};

}  // namespace tavo::wmf
