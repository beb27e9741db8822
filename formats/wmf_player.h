// Plays the records of a metafile on a page.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "draw/dashes.h"
#include "draw/painter.h"
#include "draw/text.h"
#include "formats/wmf_bitmaps.h"
#include "formats/wmf_objects.h"
#include "formats/wmf_records.h"
#include "formats/wmf_scan.h"
#include "formats/wmf_state.h"

namespace tavo::wmf {

// One for each band: states and objects begin as GDI has them, and play() goes through all records.
// `records` and `painter` outlive it.
class Player {
 public:
  // `scale`: of the page's pixels one at 96 per inch takes so many in both directions.
  Player(Records& records, draw::Painter& painter, int32_t scale)
      : records_(records), painter_(painter), scale_(scale) {}

  // Plays all records, once for each band of the page. A file that ends early is kReadError, after
  // what there is has been drawn.
  Status play(const Contents& contents);

 private:
  // Those named take_ do one record each. Records with fewer parameters than theirs are passed
  // over; anything but kOk ends the page.
  Status take();
  Status take_state();
  Status take_clip();
  Status select(int32_t number);

  // What wmf_shapes.cpp draws.
  Status take_shape();
  Status take_polygon();
  Status take_poly_polygon();
  Status draw_boxed(std::span<const int16_t, 8> words);
  Status take_arc(std::span<const int16_t, 8> words);
  Status draw_line_to(int32_t x, int32_t y);
  Status take_region_fill();
  Status take_points(size_t count);
  Status draw_filled(draw::FillRule rule);
  Status draw_outline(draw::Ends ends);
  Status stroke(draw::Ends ends);
  Status read_region(const RegionObject& object, draw::Region& region);

  // What wmf_placed.cpp draws.
  Status take_bitmap_record();
  Status place(const BitmapCall& call, const draw::Box& target, bool is_mirrored, bool is_flipped);
  Status take_pattern_fill();
  Status load_tile(const BrushObject& brush);

  // What wmf_text.cpp draws.
  struct Text;
  Status take_text();
  Status read_text(Text& text, bool& is_there);
  Status set_text(Text& text, draw::TextLine& line);
  void align_text(draw::TextLine& line);
  void move_behind(const draw::TextLine& line);
  draw::TextFace face() const;

  Status apply_clip();
  // For one record: what the clip and a box of pixels have in common.
  Status narrow_clip(const draw::Box& box);
  Status make_brush(const BrushObject& object, draw::Brush& brush);
  draw::RasterOp pen_operation() const { return draw::RasterOp::binary(states_.now.rop2); }
  bool has_pen() const { return states_.now.pen.style != kNullPen; }
  draw::Pen pen() const;
  draw::Dashes dashes() const;
  // A box of the window in subpixels, its sides in order.
  draw::Box box_at(int32_t left, int32_t top, int32_t right, int32_t bottom) const;
  int32_t pixel() const { return draw::kSubpixels * scale_; }

  // PS_NULL and PS_INSIDEFRAME ([MS-WMF] 2.1.1.23).
  static constexpr uint16_t kNullPen = 5, kInsideFrame = 6;

  Records& records_;
  draw::Painter& painter_;
  int32_t scale_;
  States states_;
  Objects objects_;
  draw::Shape shape_;
  draw::Shape pieces_;  // of lines with gaps
  draw::Region region_;
  Buffer tile_;
  int32_t tile_width_ = 0;
  int32_t tile_height_ = 0;
  uint64_t tile_of_ = 0;  // which brush it is
};

// Finds the page of a file without a window. It stays Content::kNothing where nothing is drawn, or
// too much.
Status measure(Records& records, Contents& contents);

}  // namespace tavo::wmf
