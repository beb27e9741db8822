// Bitmaps of a metafile on a page, and brushes that are bitmaps.
#include <algorithm>
#include <array>

#include "draw/placement.h"
#include "formats/wmf_player.h"

namespace tavo::wmf {

namespace {

// Of a brush more is not looked at.
constexpr int32_t kLargestTile = 256;

// From one position and a length, in subpixels, to pixels. Negative lengths begin at the pixel
// itself and go to the left or upward, as GDI's do.
void side(int32_t from, int32_t to, int32_t pixel, int32_t& first, int32_t& end, bool& is_turned) {
  is_turned = to < from;
  first = draw::edge_of(is_turned ? to + pixel : from);
  end = draw::edge_of(is_turned ? from + pixel : to);
}

}  // namespace

Status Player::take_bitmap_record() {
  BitmapCall call;
  if (!take_call(records_, call)) return kOk;
  const Mapping& mapping = states_.now.mapping;
  const draw::Point from = mapping.at(call.x, call.y);
  const draw::Point to = mapping.at(int64_t{call.x} + call.width, int64_t{call.y} + call.height);
  draw::Box target;
  bool is_mirrored = false, is_flipped = false;
  side(from.x, to.x, pixel(), target.left, target.right, is_mirrored);
  side(from.y, to.y, pixel(), target.top, target.bottom, is_flipped);
  // What the band at hand does not show is not decoded.
  if (common(target, painter_.canvas().clip_box()).is_empty()) return kOk;
  if (call.has_bitmap) return place(call, target, is_mirrored, is_flipped);
  draw::Brush brush;
  TRY(make_brush(states_.now.brush, brush));
  return painter_.fill_box(target, brush, call.operation);
}

Status Player::place(const BitmapCall& call, const draw::Box& target, bool is_mirrored,
                     bool is_flipped) {
  ByteSource bytes(records_);
  TRY(bytes.start());
  Bitmap bitmap;
  const Status status = take_bitmap(bytes, records_.left_in_file(), call.form, bitmap);
  if (status == kNoMemory) return status;
  draw::Placement placement;
  // Kept: a bitmap that cannot be read is passed over, and the rest of the page drawn.
  if (!status.ok() || !source_box(call, bitmap, placement.source).ok()) return kOk;
  placement.target = target;
  placement.is_mirrored = is_mirrored != (call.source_width < 0);
  placement.is_flipped = is_flipped != (call.source_height < 0);
  // Operations that mix in a pattern get the brush's colour, be it hatched or a bitmap.
  const draw::Brush brush = draw::solid(states_.now.brush.color);
  draw::PlacedPicture placed(painter_.canvas(), placement, call.operation, brush);
  TRY(placed.start(bitmap.header.width));
  BitmapRows rows(bitmap, bytes);
  TRY(rows.start());
  for (int32_t i = 0; i < bitmap.header.height; ++i) {
    TRY(painter_.canvas().spend(bitmap.header.width));
    // Rows that were there stay drawn; that the file ends in them, Records::next tells.
    if (!rows.next_colors().ok()) return records_.failure();
    TRY(placed.put_row(rows.place(i), rows.colors()));
  }
  return kOk;
}

// Words: the operation, height, width, y, x.
Status Player::take_pattern_fill() {
  std::array<int16_t, 6> words;
  if (!records_.take(words)) return kOk;
  const draw::Box box = box_at(words[5], words[4], words[5] + words[3], words[4] + words[2]);
  draw::Brush brush;
  TRY(make_brush(states_.now.brush, brush));
  return painter_.fill_box(draw::pixels_of(box), brush,
                           draw::RasterOp(static_cast<uint8_t>(words[1])));
}

Status Player::load_tile(const BrushObject& brush) {
  // One brush, as a rule, serves many fills. Position 0, which no record has, is no brush.
  if (tile_of_ == brush.pattern) return kOk;
  tile_of_ = brush.pattern;
  tile_width_ = tile_height_ = 0;
  return records_.elsewhere(brush.pattern, [&](ByteSource& bytes) {
    Bitmap bitmap;
    const Status status = take_bitmap(bytes, brush.pattern_bytes, brush.form, bitmap);
    // A brush that cannot be read draws nothing: it has no tile.
    if (!status.ok()) return status == kNoMemory ? status : kOk;
    // A pointer of four bytes and eighteen reserved ones ([MS-WMF] 2.3.4.4).
    constexpr uint64_t kReservedBytes = 22;  // behind the older header
    if (!brush.form.is_dib && !bytes.skip(kReservedBytes).ok()) return kOk;
    BitmapRows rows(bitmap, bytes);
    TRY(rows.start());
    const int32_t width = std::min(bitmap.header.width, kLargestTile);
    const int32_t height = std::min(bitmap.header.height, kLargestTile);
    const size_t line = 3 * static_cast<size_t>(width);
    TRY(tile_.allocate(line * static_cast<size_t>(height)));
    for (int32_t i = 0; i < bitmap.header.height; ++i) {
      if (!rows.next_colors().ok()) break;
      if (rows.place(i) >= height) continue;
      std::copy_n(rows.colors(), line, tile_.data() + line * static_cast<size_t>(rows.place(i)));
    }
    tile_width_ = width;
    tile_height_ = height;
    return kOk;
  });
}

}  // namespace tavo::wmf
