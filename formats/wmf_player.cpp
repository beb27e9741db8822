#include "formats/wmf_player.h"

#include <algorithm>
#include <array>

namespace tavo::wmf {

Status Player::play(const Contents& contents) {
  Mapping& mapping = states_.now.mapping;
  const Header& header = contents.header;
  const draw::Canvas& canvas = painter_.canvas();
  mapping.width = canvas.width() * draw::kSubpixels;
  mapping.height = canvas.height() * draw::kSubpixels;
  mapping.pixel_width = contents.screen_width;
  mapping.pixel_height = contents.screen_height;
  // The window until a record sets one: the placeable box; else, without any, units that are
  // pixels.
  if (header.is_placeable) {
    mapping.x_origin = header.left;
    mapping.y_origin = header.top;
    mapping.x_extent = header.right - header.left;
    mapping.y_extent = header.bottom - header.top;
  } else if (contents.has_no_window) {
    mapping.x_extent = contents.screen_width;
    mapping.y_extent = contents.screen_height;
    mapping.left = contents.corner.x * (mapping.width / contents.screen_width);
    mapping.top = contents.corner.y * (mapping.height / contents.screen_height);
  }
  TRY(records_.go_to(header.first_record));
  while (records_.next()) TRY(take());
  TRY(records_.failure());
  return records_.is_cut() ? kReadError : kOk;
}

Status measure(Records& records, Contents& contents) {
  constexpr int32_t kSide = draw::kLargestSide, kMiddle = kSide / 2;
  draw::Canvas canvas;
  canvas.start_noting(kSide, kSide);
  draw::Painter painter(canvas);
  contents.screen_width = contents.screen_height = kSide;
  // Positions of both signs fit: 0 is in the middle of the largest page there is.
  contents.corner = {-kMiddle, -kMiddle};
  const Status status = Player(records, painter, 1).play(contents);
  // kBadData: more work than a page is allowed (Canvas::spend).
  const bool has_page = status != kBadData && !canvas.noted().is_empty();
  const draw::Box box = has_page ? canvas.noted() : draw::Box{0, 0, 1, 1};
  contents.corner = {box.left - kMiddle, box.top - kMiddle};
  contents.width = contents.screen_width = box.right - box.left;
  contents.height = contents.screen_height = box.bottom - box.top;
  if (!has_page) return kOk;
  contents.content = Content::kDrawing;
  return status == kReadError ? records.failure() : status;
}

Status Player::take() {
  Status status = kOk;
  // First of all: each object takes its number, whatever becomes of it.
  if (objects_.take(records_, status)) return status;
  switch (records_.function()) {
    case kPolygon:
    case kPolyline:
      return take_polygon();
    case kPolyPolygon:
      return take_poly_polygon();
    case kTextOut:
    case kExtTextOut:
      return take_text();
    case kPatBlt:
      return take_pattern_fill();
    case kLineTo:
    case kRectangle:
    case kRoundRect:
    case kEllipse:
    case kArc:
    case kPie:
    case kChord:
    case kSetPixel:
      return take_shape();
    case kFillRegion:
    case kPaintRegion:
    case kInvertRegion:
    case kFrameRegion:
      return take_region_fill();
    case kSelectClipRegion:
    case kIntersectClipRect:
    case kExcludeClipRect:
    case kOffsetClipRegion:
      return take_clip();
    default:
      return is_bitmap_function(records_.function()) ? take_bitmap_record() : take_state();
  }
}

Status Player::take_state() {
  // SETBKMODE and its like have an optional second word, reserved. Words that a record lacks are 0.
  std::array<int16_t, 4> words = {};
  const auto count = static_cast<size_t>(std::min<uint64_t>(records_.left() / 2, words.size()));
  if (!records_.take(std::span(words).first(count))) return kOk;
  switch (records_.function()) {
    case kSaveDc:
      return states_.save();
    case kRestoreDc:
      TRY(states_.restore(words[0]));
      // The clip is part of what is saved.
      return apply_clip();
    case kSelectObject:
      return select(words[0]);
    case kDeleteObject:
      objects_.remove(words[0]);
      return kOk;
    default:
      states_.take(records_.function(), words);
      return kOk;
  }
}

Status Player::select(int32_t number) {
  // Numbers that name nothing leave what is selected.
  const Object* const object = objects_.find(number);
  if (object == nullptr) return kOk;
  State& now = states_.now;
  // Copied: an object may be deleted while it is selected, and stays in force.
  if (const auto* const pen = std::get_if<PenObject>(object)) now.pen = *pen;
  if (const auto* const brush = std::get_if<BrushObject>(object)) now.brush = *brush;
  if (const auto* const font = std::get_if<FontObject>(object)) now.font = *font;
  const auto* const region = std::get_if<RegionObject>(object);
  if (region == nullptr) return kOk;
  TRY(read_region(*region, states_.clip));
  now.has_clip = true;
  return apply_clip();
}

Status Player::apply_clip() {
  if (states_.now.has_clip) return painter_.canvas().set_clip(states_.clip);
  painter_.canvas().clear_clip();
  return kOk;
}

Status Player::narrow_clip(const draw::Box& box) {
  draw::Region narrow;
  TRY(narrow.assign(common(box, painter_.canvas().clip_box())));
  if (!states_.now.has_clip) return painter_.canvas().set_clip(narrow);
  TRY(region_.combine(states_.clip, narrow, draw::Region::Operation::kBoth));
  return painter_.canvas().set_clip(region_);
}

Status Player::take_clip() {
  std::array<int16_t, 4> words = {};
  const auto count = static_cast<size_t>(std::min<uint64_t>(records_.left() / 2, words.size()));
  if (!records_.take(std::span(words).first(count))) return kOk;
  State& now = states_.now;
  const draw::Canvas& canvas = painter_.canvas();
  const draw::Box page = {0, 0, canvas.width(), canvas.height()};
  if (records_.function() == kSelectClipRegion) {
    // Programs of old save a clip of nothing as number 0.
    const Object* const object = objects_.find(words[0]);
    const auto* const region = object == nullptr ? nullptr : std::get_if<RegionObject>(object);
    now.has_clip = region != nullptr;
    if (region != nullptr) TRY(read_region(*region, states_.clip));
    return apply_clip();
  }
  // Without a clip, all of the page is what these records narrow or move.
  if (!now.has_clip) TRY(states_.clip.assign(page));
  now.has_clip = true;
  if (records_.function() == kOffsetClipRegion) {
    const draw::Point origin = now.mapping.at(0, 0), moved = now.mapping.at(words[1], words[0]);
    states_.clip.move(draw::edge_of(moved.x - origin.x), draw::edge_of(moved.y - origin.y));
    return apply_clip();
  }
  draw::Region box;
  const draw::Box sides = box_at(words[3], words[2], words[1], words[0]);
  TRY(box.assign(common(draw::pixels_of(sides), page)));
  const bool excludes = records_.function() == kExcludeClipRect;
  TRY(region_.combine(
      states_.clip, box,
      excludes ? draw::Region::Operation::kFirstOnly : draw::Region::Operation::kBoth));
  TRY(states_.clip.assign(region_));
  return apply_clip();
}

draw::Box Player::box_at(int32_t left, int32_t top, int32_t right, int32_t bottom) const {
  const draw::Point a = states_.now.mapping.at(left, top);
  const draw::Point b = states_.now.mapping.at(right, bottom);
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

draw::Pen Player::pen() const {
  const Mapping& mapping = states_.now.mapping;
  // A width of 0 is a pixel; none is less.
  return draw::Pen::round(std::max(mapping.length_x(states_.now.pen.width), pixel()));
}

// Those of GDI's pens that are a pixel wide; wider ones draw whole lines.
draw::Dashes Player::dashes() const {
  static constexpr uint8_t kDash[] = {18, 6}, kDot[] = {3, 3}, kDashDot[] = {9, 6, 3, 6};
  static constexpr uint8_t kDashDotDot[] = {9, 3, 3, 3, 3, 3};
  const PenObject& pen = states_.now.pen;
  // Wide, as draw::Pen::round has it: a pixel and a half or more.
  if (2 * states_.now.mapping.length_x(pen.width) >= 3 * pixel()) return {};
  switch (pen.style) {
    case 1:
      return kDash;  // PS_DASH ([MS-WMF] 2.1.1.23)
    case 2:
      return kDot;  // PS_DOT
    case 3:
      return kDashDot;  // PS_DASHDOT
    case 4:
      return kDashDotDot;  // PS_DASHDOTDOT
    default:
      return {};
  }
}

Status Player::make_brush(const BrushObject& object, draw::Brush& brush) {
  // BrushStyle ([MS-WMF] 2.1.1.4): BS_NULL, BS_HATCHED; all others without a bitmap are solid.
  constexpr uint16_t kNull = 1, kHatched = 2;
  brush.color = object.color;
  brush.cell = scale_;
  if (object.pattern != 0) {
    TRY(load_tile(object));
    brush.kind = tile_width_ > 0 ? draw::Brush::Kind::kTile : draw::Brush::Kind::kNone;
    brush.tile = tile_.data();
    brush.tile_width = tile_width_;
    brush.tile_height = tile_height_;
  } else if (object.style == kNull) {
    brush.kind = draw::Brush::Kind::kNone;
  } else if (object.style == kHatched) {
    brush.kind = draw::Brush::Kind::kBits;
    brush.bits = draw::hatch_bits(object.hatch);  // HatchStyle, 2.1.1.12
    brush.background = states_.now.background;
    brush.is_transparent = !states_.now.is_opaque;
  }
  return kOk;
}

}  // namespace tavo::wmf
