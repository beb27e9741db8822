// Polygons, lines, curves and regions of a metafile.
#include <algorithm>
#include <array>

#include "base/endian.h"
#include "base/trigonometry.h"
#include "formats/wmf_player.h"

namespace tavo::wmf {

namespace {

constexpr draw::Box inset(const draw::Box& box, int32_t by) {
  return {box.left + by, box.top + by, box.right - by, box.bottom - by};
}

}  // namespace

// Points of the window, x before y, at the end of the shape; fewer when the record has fewer.
Status Player::take_points(size_t count) {
  // 128 points at a time. No room is set aside for a count that the record does not have.
  std::array<int16_t, 256> words;
  count = static_cast<size_t>(std::min<uint64_t>(count, records_.left() / 4));
  while (count > 0) {
    const size_t part = std::min(count, words.size() / 2);
    if (!records_.take(std::span(words).first(2 * part))) return kOk;
    for (size_t i = 0; i < part; ++i) {
      TRY(shape_.add(states_.now.mapping.at(words[2 * i], words[2 * i + 1])));
    }
    count -= part;
  }
  return kOk;
}

// What the brush fills, pens go around.
Status Player::draw_filled(draw::FillRule rule) {
  draw::Brush brush;
  TRY(make_brush(states_.now.brush, brush));
  TRY(painter_.fill(shape_, rule, brush, pen_operation()));
  return draw_outline(draw::Ends::kClosed);
}

// Kept: GDI's lines go through the middle of the pixels at whose corners its shapes end.
Status Player::draw_outline(draw::Ends ends) {
  if (!has_pen()) return kOk;
  const int32_t half = pixel() / 2;
  for (draw::Point& point : shape_.points()) point = {point.x + half, point.y + half};
  return stroke(ends);
}

// Gaps have the background's colour, or none.
Status Player::stroke(draw::Ends ends) {
  const State& now = states_.now;
  const draw::Brush color = draw::solid(now.pen.color);
  const draw::Dashes pattern = dashes();
  if (pattern.empty()) return painter_.stroke(shape_, ends, pen(), color, pen_operation());
  if (now.is_opaque && pen_operation() == draw::kCopyBrush) {
    TRY(painter_.stroke(shape_, ends, pen(), draw::solid(now.background), pen_operation()));
  }
  pieces_.clear();
  TRY(draw::add_dashes(shape_, ends == draw::Ends::kClosed, pattern, pixel(),
                       painter_.canvas().clip_box(), pieces_));
  return painter_.stroke(pieces_, draw::Ends::kOpen, pen(), color, pen_operation());
}

Status Player::take_polygon() {
  std::array<int16_t, 1> count;
  if (!records_.take(count)) return kOk;
  shape_.clear();
  // Kept: NumberOfPoints has a sign in [MS-WMF] and none here; the record's size bounds it.
  TRY(take_points(static_cast<uint16_t>(count[0])));
  TRY(shape_.end_contour());
  if (records_.function() == kPolyline) return draw_outline(draw::Ends::kOpenWithout);
  return draw_filled(states_.now.is_winding ? draw::FillRule::kWinding
                                            : draw::FillRule::kAlternate);
}

// The counts of all polygons come before the points.
Status Player::take_poly_polygon() {
  std::array<int16_t, 1> word;
  if (!records_.take(word)) return kOk;
  List<int16_t> counts;
  const auto polygons = static_cast<uint16_t>(word[0]);
  // At most 65535 counts, which must be in the file before memory is taken.
  if (records_.left_in_file() / 2 < polygons) return kOk;
  TRY(counts.extend(polygons));
  if (!records_.take(counts.items())) return kOk;
  shape_.clear();
  for (const int16_t count : counts.items()) {
    TRY(take_points(static_cast<uint16_t>(count)));
    TRY(shape_.end_contour());
  }
  return draw_filled(states_.now.is_winding ? draw::FillRule::kWinding
                                            : draw::FillRule::kAlternate);
}

Status Player::draw_line_to(int32_t x, int32_t y) {
  State& now = states_.now;
  shape_.clear();
  TRY(shape_.add(now.mapping.at(now.x, now.y)));
  TRY(shape_.add(now.mapping.at(x, y)));
  TRY(shape_.end_contour());
  now.x = x;
  now.y = y;
  return draw_outline(draw::Ends::kOpenWithout);
}

Status Player::take_shape() {
  std::array<int16_t, 8> words = {};
  const size_t count = records_.function() >> 8;
  if (!records_.take(std::span(words).first(std::min(count, words.size())))) return kOk;
  switch (records_.function()) {
    case kLineTo:
      return draw_line_to(words[1], words[0]);
    case kArc:
    case kPie:
    case kChord:
      return take_arc(words);
    case kSetPixel: {
      const auto color = static_cast<uint16_t>(words[0]) |
                         static_cast<uint32_t>(static_cast<uint16_t>(words[1])) << 16;
      // A pixel of the screen, however large the page; ROP2 does not count, as in GDI.
      const draw::Point at = states_.now.mapping.at(words[3], words[2]);
      const draw::Box box = {at.x, at.y, at.x + pixel(), at.y + pixel()};
      return painter_.fill_box(draw::pixels_of(box), draw::solid(color_of(color)),
                               draw::kCopyBrush);
    }
    default:
      return draw_boxed(words);
  }
}

// Rectangles, rounded ones and ellipses. Their pens stay inside the box, of which the right and the
// lower sides are outside; without a pen they are a pixel smaller (both as GDI has it).
Status Player::draw_boxed(std::span<const int16_t, 8> words) {
  const bool is_round = records_.function() == kRoundRect;
  const size_t at = is_round ? 2 : 0;
  draw::Box box = box_at(words[at + 3], words[at + 2], words[at + 1], words[at]);
  const State& now = states_.now;
  if (!has_pen()) {
    box.right -= pixel();
    box.bottom -= pixel();
  } else if (now.pen.style == kInsideFrame) {
    // PS_INSIDEFRAME alone keeps wide pens inside: others go half over the border.
    box = inset(box, std::max(now.mapping.length_x(now.pen.width) - pixel(), 0) / 2);
  }
  const auto make = [&](const draw::Box& sides) {
    shape_.clear();
    if (sides.left > sides.right || sides.top > sides.bottom) return kOk;
    if (records_.function() == kEllipse) return shape_.add_ellipse(sides);
    if (!is_round) return shape_.add_box(sides);
    return shape_.add_round_box(sides, now.mapping.length_x(words[1]),
                                now.mapping.length_y(words[0]));
  };
  draw::Brush brush;
  TRY(make_brush(now.brush, brush));
  TRY(make(box));
  TRY(painter_.fill(shape_, draw::FillRule::kAlternate, brush, pen_operation()));
  if (!has_pen()) return kOk;
  TRY(make(inset(box, pixel() / 2)));
  return stroke(draw::Ends::kClosed);
}

// Parts of ellipses, from where the line to the first point leaves the ellipse, to the left around.
Status Player::take_arc(std::span<const int16_t, 8> words) {
  const uint16_t function = records_.function();
  draw::Box box = box_at(words[7], words[6], words[5], words[4]);
  const Mapping& mapping = states_.now.mapping;
  const int32_t from = draw::angle_of(box, mapping.at(words[3], words[2]));
  const int32_t to = draw::angle_of(box, mapping.at(words[1], words[0]));
  int32_t turn = within_turn(to - from, kFullTurn);
  // The same direction twice is the whole ellipse, as GDI has it.
  if (turn == 0) turn = kFullTurn;
  box.right = std::max(box.left, box.right - pixel());
  box.bottom = std::max(box.top, box.bottom - pixel());
  shape_.clear();
  TRY(shape_.add_arc(box, from, turn));
  if (function == kPie) {
    TRY(shape_.add({(box.left + box.right) / 2, (box.top + box.bottom) / 2}));
  }
  TRY(shape_.end_contour());
  return function == kArc ? draw_outline(draw::Ends::kOpenWithout)
                          : draw_filled(draw::FillRule::kAlternate);
}

// Region ([MS-WMF] 2.2.1.5): eleven words, of which ScanCount alone is used; then scans, each of
// its number of columns, top and bottom, and the columns.
Status Player::read_region(const RegionObject& object, draw::Region& region) {
  constexpr size_t kHeadWords = 11, kScanCount = 5;
  shape_.clear();
  const auto take_scans = [&](ByteSource& bytes) {
    std::array<uint8_t, 2 * kHeadWords> head;
    if (!bytes.read(head).ok()) return kOk;
    // Scan (2.2.2.21). Each has bytes that must be there, so that no count runs free.
    for (uint32_t scans = load_le16(&head[2 * kScanCount]); scans > 0; --scans) {
      std::array<uint8_t, 6> scan;  // columns, top, bottom
      if (!bytes.read(scan).ok()) return kOk;
      for (uint32_t left = load_le16(&scan[0]) / 2; left > 0; --left) {
        std::array<uint8_t, 4> columns;
        if (!bytes.read(columns).ok()) return kOk;
        const auto at = [](const uint8_t* from) { return static_cast<int16_t>(load_le16(from)); };
        TRY(shape_.add_box(box_at(at(&columns[0]), at(&scan[2]), at(&columns[2]), at(&scan[4]))));
      }
      if (!bytes.skip(2).ok()) return kOk;  // the number of columns again
    }
    return kOk;
  };
  TRY(records_.elsewhere(object.position, take_scans));
  // By winding, boxes that overlap count once.
  return painter_.to_region(shape_, draw::FillRule::kWinding, region);
}

Status Player::take_region_fill() {
  std::array<int16_t, 4> words = {};
  const size_t count = records_.function() >> 8;
  if (!records_.take(std::span(words).first(count))) return kOk;
  const Object* const object = objects_.find(words[0]);
  const auto* const stored = object == nullptr ? nullptr : std::get_if<RegionObject>(object);
  if (stored == nullptr) return kOk;
  TRY(read_region(*stored, region_));
  if (records_.function() == kInvertRegion) {
    return painter_.fill_region(region_, draw::solid({}), draw::kInvert);
  }
  BrushObject brush_object = states_.now.brush;
  // FILLREGION and FRAMEREGION name their brush; one that is none leaves the selected one.
  if (records_.function() != kPaintRegion) {
    const Object* const chosen = objects_.find(words[1]);
    const auto* const given = chosen == nullptr ? nullptr : std::get_if<BrushObject>(chosen);
    if (given != nullptr) brush_object = *given;
  }
  draw::Brush brush;
  TRY(make_brush(brush_object, brush));
  if (records_.function() != kFrameRegion) {
    return painter_.fill_region(region_, brush, pen_operation());
  }
  const auto pixels = [](int32_t length) { return std::max(draw::edge_of(length), 1); };
  draw::Region frame;
  TRY(frame.frame(region_, pixels(states_.now.mapping.length_x(words[3])),
                  pixels(states_.now.mapping.length_y(words[2]))));
  return painter_.fill_region(frame, brush, pen_operation());
}

}  // namespace tavo::wmf
