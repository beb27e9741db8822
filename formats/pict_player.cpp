#include "formats/pict_player.h"

#include <algorithm>

#include "formats/pict_colors.h"

namespace tavo::pict {

namespace {

// Origin, BkPixPat, PnPixPat; FillPixPat (14) is the only other opcode of its kind.
constexpr uint32_t kOrigin = 0x0C, kPaperPixels = 0x12, kPenPixels = 0x13;

// Beyond so many pixels a side a pattern is not looked at; its old one of 8 x 8 bits is.
constexpr int32_t kLargestTile = 256;

constexpr draw::RasterOp kXorPattern = draw::RasterOp(static_cast<uint8_t>(kOfPage ^ kOfPattern));

}  // namespace

Player::Player(Records& records, draw::Painter& painter, const Layout& layout, int32_t factor)
    : records_(records),
      painter_(painter),
      canvas_(painter.canvas()),
      grid_(layout.grid),
      draws_(layout.show == Show::kDrawing) {
  grid_.scale.pixels *= factor;
}

// Each record counts as work, so that no file can have a page drawn for hours.
Status Player::play() {
  TRY(records_.start());
  TRY(clip_.assign({0, canvas_.top(), canvas_.width(), canvas_.bottom()}));
  do {
    TRY(records_.next());
    TRY(canvas_.spend(1));
    TRY(take());
  } while (records_.kind() != Records::Kind::kEnd);
  return kOk;
}

Status Player::take() {
  switch (records_.kind()) {
    case Records::Kind::kClip:
      return take_clip();
    case Records::Kind::kBitmap:
      return place_bitmap();
    case Records::Kind::kState:
      return take_state();
    case Records::Kind::kPattern:
      return take_pattern();
    case Records::Kind::kDrawing:
      return draws_ ? take_drawing() : kOk;
    default:
      return kOk;
  }
}

Status Player::take_clip() {
  TRY(grid_.region(records_.clip(), canvas_.top(), canvas_.bottom(), canvas_, clip_));
  return canvas_.set_clip(clip_);
}

// The origin moves what follows; a clip stays where it is.
Status Player::take_state() {
  if (!draws_) return kOk;
  const auto data = records_.data();
  if (records_.opcode() == kOrigin) {
    const Place by = load_place(data.data());  // here the column comes first
    grid_.left = draw::limited(grid_.left + by.y);
    grid_.top = draw::limited(grid_.top + by.x);
    return kOk;
  }
  state_.take(records_.opcode(), data);
  return kOk;
}

// A PixPat has pixels, or one colour (type 2), and for devices without colours eight rows of bits,
// which stay in force where the pixels are not taken.
Status Player::take_pattern() {
  if (!draws_) return kOk;
  const uint32_t opcode = records_.opcode();
  Pattern& pattern = opcode == kPaperPixels ? state_.paper
                     : opcode == kPenPixels ? state_.pen
                                            : state_.fill;
  pattern.set(records_.old_pattern());
  const auto data = records_.data();
  if (data.empty()) return load_tile(pattern);
  pattern.kind = Pattern::Kind::kColor;
  pattern.color = load_color(data.data());
  return kOk;
}

Status Player::load_tile(Pattern& pattern) {
  const Bitmap& bitmap = records_.bitmap();
  const int32_t width = bitmap.bounds.width(), height = bitmap.bounds.height();
  if (width > kLargestTile || height > kLargestTile) return kOk;
  ColorRows rows(records_.rows(), bitmap, T_ORDER_RGB);
  TRY(rows.start());
  const size_t line = 3 * static_cast<size_t>(width);
  TRY(pattern.tile.allocate(line * static_cast<size_t>(height)));
  for (int32_t y = 0; y < height; ++y) {
    TRY(rows.take(static_cast<uint32_t>(y)));
    std::copy_n(rows.pixels(), line, pattern.tile.data() + line * static_cast<size_t>(y));
  }
  pattern.kind = Pattern::Kind::kTile;
  pattern.width = width;
  pattern.height = height;
  return kOk;
}

// Patterns begin at the origin of the coordinates.
Player::Ink Player::ink(const Pattern& pattern, uint32_t mode) const {
  const Transfer transfer = transfer_of(mode);
  Ink ink;
  draw::Brush& brush = ink.brush;
  brush.cell = grid_.cell();
  brush.x_origin = grid_.column(0);
  brush.y_origin = grid_.row(0);
  if (transfer.mode == Mode::kNothing) {
    brush.kind = draw::Brush::Kind::kNone;
    return ink;
  }
  if (pattern.kind == Pattern::Kind::kBits) {
    set_bits(pattern, transfer, brush);
    if (transfer.mode == Mode::kXor) ink.operation = kXorPattern;
    return ink;
  }
  ink.operation = color_operation(transfer, kOfPattern);
  const bool is_tile = pattern.kind == Pattern::Kind::kTile;
  brush.kind = is_tile ? draw::Brush::Kind::kTile : draw::Brush::Kind::kSolid;
  brush.color = pattern.color;
  brush.tile = pattern.tile.data();
  brush.tile_width = pattern.width;
  brush.tile_height = pattern.height;
  return ink;
}

// What modes do where bits are 1, and but for copying nowhere else. Exclusive is a white brush.
void Player::set_bits(const Pattern& pattern, const Transfer& transfer, draw::Brush& brush) const {
  using Kind = draw::Brush::Kind;
  brush.kind = Kind::kBits;
  for (size_t i = 0; i < brush.bits.size(); ++i) {
    brush.bits[i] = static_cast<uint8_t>(transfer.inverts ? ~pattern.bits[i] : pattern.bits[i]);
  }
  brush.color = transfer.mode == Mode::kBic   ? state_.background
                : transfer.mode == Mode::kXor ? kWhite
                                              : state_.foreground;
  brush.background = state_.background;
  brush.is_transparent = transfer.mode != Mode::kCopy;
  const auto is_all = [&](uint8_t bits) { return std::ranges::count(brush.bits, bits) == 8; };
  if (is_all(0xFF)) brush.kind = Kind::kSolid;
  if (is_all(0)) {
    brush.kind = brush.is_transparent ? Kind::kNone : Kind::kSolid;
    brush.color = brush.background;
  }
}

// Of the verbs only painting and framing heed PnMode; erasing and filling always copy (patCopy).
Player::Ink Player::ink(Verb verb) const {
  constexpr uint32_t kCopy = 8;
  switch (verb) {
    case Verb::kErase:
      return ink(state_.paper, kCopy);
    case Verb::kFill:
      return ink(state_.fill, kCopy);
    case Verb::kInvert:
      return {draw::solid(kWhite), draw::kInvert};
    default:
      return ink(state_.pen, state_.pen_mode);
  }
}

int32_t Player::pen_length(int32_t units) const {
  return units <= 0 ? 0 : std::max(grid_.length(units), draw::kSubpixels);
}

draw::Pen Player::pen() const {
  return draw::Pen::hanging_box(pen_length(state_.pen_size.x), pen_length(state_.pen_size.y));
}

}  // namespace tavo::pict
