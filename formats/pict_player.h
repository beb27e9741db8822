// Plays the records of a PICT file on a page.
#pragma once

#include <cstdint>
#include <span>

#include "base/list.h"
#include "base/status.h"
#include "draw/painter.h"
#include "draw/text.h"
#include "formats/pict_grid.h"
#include "formats/pict_layout.h"
#include "formats/pict_records.h"
#include "formats/pict_state.h"

namespace tavo::pict {

class Player {
 public:
  // The page is `factor` times as large as the layout says. Of pictures that have bitmaps alone
  // only these and clips are heeded, and every mode copies.
  Player(Records& records, draw::Painter& painter, const Layout& layout, int32_t factor);

  // Plays all records, on the band of the page at hand. What keeps from reading on comes back after
  // what there is has been drawn; kBadData for more work than pictures take.
  Status play();

  // Rows down to the lowest that a bitmap was painted in.
  int32_t painted_rows() const { return painted_rows_; }

 private:
  // In the order of the opcodes' last three bits.
  enum class Verb : uint8_t { kFrame, kPaint, kErase, kInvert, kFill };

  // A brush, and how it is used.
  struct Ink {
    draw::Brush brush;
    draw::RasterOp operation = draw::kCopyBrush;
  };

  Status take();
  Status take_clip();
  Status take_state();
  Status take_pattern();
  Status load_tile(Pattern& pattern);
  Ink ink(const Pattern& pattern, uint32_t mode) const;
  Ink ink(Verb verb) const;
  void set_bits(const Pattern& pattern, const Transfer& transfer, draw::Brush& brush) const;
  draw::Pen pen() const;
  // A pen's width or height in subpixels: a pixel at least.
  int32_t pen_length(int32_t units) const;

  // What pict_placed.cpp draws.
  Status place_bitmap();
  Status put_rows(const draw::Box& target);

  // What pict_shapes.cpp draws.
  Status take_drawing();
  Status take_line();
  Status take_shape();
  Status draw_boxed(Verb verb, uint32_t kind);
  Status draw_arc(Verb verb, Place angles);
  Status draw_polygon(Verb verb);
  Status draw_region(Verb verb);
  Status add_boxed(uint32_t kind, const draw::Box& box, draw::Point corners);
  draw::Box inside_pen(const draw::Box& box) const;
  Status fill_shape(Verb verb);

  // What pict_text.cpp draws.
  Status take_text();
  Status draw_text(std::span<const uint8_t> text);
  draw::TextFace face() const;

  Records& records_;
  draw::Painter& painter_;
  draw::Canvas& canvas_;
  Grid grid_;
  bool draws_;
  State state_;
  draw::Region clip_;
  int32_t painted_rows_ = 0;
  Rect box_;               // of the last shape that has one
  List<uint8_t> polygon_;  // the last one's record, for "the same polygon"
  Region region_;          // the same of regions
  draw::Shape shape_;
  draw::Shape inner_;
  draw::Region pixels_;
  draw::Region narrowed_;
};

}  // namespace tavo::pict
