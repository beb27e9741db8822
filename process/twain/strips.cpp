#include "process/twain/strips.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "color/index_rows.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"

namespace tavo::twain {

namespace {

// Of a length that is not known: what is allocated at first, and where a source will never end.
constexpr uint32_t kFirstBytes = 1024 * 1024;
constexpr uint32_t kMostRows = 1024 * 1024;
// Sources may have nothing to send for a while, but not for ever.
constexpr uint32_t kMostIdle = 100;

bool is_told(uint32_t value) { return value != kUntold; }

}  // namespace

Status Strips::start(const Picture& picture, const PixelRules& rules, BitmapHandle& bitmap) {
  picture_ = picture;
  bitmap_ = &bitmap;
  if (picture.is_compressed) return kBadData;
  TRY(choose_layout(rules));
  uint32_t rows = static_cast<uint32_t>(picture.height);
  const uint32_t line = core::bytes_per_line(picture.width, bits_);
  if (line == 0) return kBadData;
  if (rows == 0) rows = std::max(1u, kFirstBytes / line);
  TRY(line_.allocate(line));
  TRY(part_.allocate(line));
  return allocate(bitmap, rows);
}

// Samples of 16 bits keep their high byte.
Status Strips::choose_layout(const PixelRules& rules) {
  const int32_t bits = picture_.pixel_bits;
  const bool is_index = bits == 1 || bits == 2 || bits == 4 || bits == 8;
  in_bits_ = bits;
  switch (picture_.type) {
    case kBlackAndWhite:
      if (bits != 1) return kBadData;
      break;
    case kGray:
      if (!is_index && bits != 16) return kBadData;
      break;
    case kRgb:
      if (bits != 24 && bits != 48) return kBadData;
      break;
    case kPalette:
      if (!is_index) return kBadData;
      break;
    default:
      return kBadData;
  }
  if (bits == 16 || bits == 48) {
    sample_bytes_ = 2;
    in_bits_ = bits / 2;
  }
  const bool is_gray = picture_.type == kBlackAndWhite || picture_.type == kGray;
  bits_ = is_gray && bits == 1 ? 1 : std::max(8, in_bits_);
  is_planar_ = picture_.is_planar && picture_.type == kRgb;
  // Planes follow one another whole, so that the length has to be known.
  if (is_planar_ && (picture_.height == 0 || sample_bytes_ != 1)) return kBadData;
  low_bit_first_ = rules.low_bit_first && bits == 1;
  row_bytes_ = core::packed_bytes(static_cast<uint64_t>(picture_.width),
                                  is_planar_ ? 8 : in_bits_ * static_cast<int32_t>(sample_bytes_));
  if (is_gray) make_gray_table(rules.zero_is_white);
  if (picture_.type == kPalette) TRY(read_palette(rules));
  return converter_.start(24, 24, T_ORDER_RGB, T_ORDER_BGR, nullptr, nullptr);
}

void Strips::make_gray_table(bool zero_is_white) {
  const uint32_t levels = 1u << in_bits_;
  for (uint32_t i = 0; i < levels; ++i) {
    const auto level = static_cast<uint8_t>(i * 255 / (levels - 1));
    table_[i] = zero_is_white ? static_cast<uint8_t>(255 - level) : level;
  }
  colors_ = 1u << bits_;
  color::fill_gray_ramp({palette_.data(), colors_});
}

// Entries count by their place: not all sources fill in their index.
Status Strips::read_palette(const PixelRules& rules) {
  if (rules.palette == nullptr) return kBadData;
  const Palette8& palette = *rules.palette;
  if (palette.count == 0 || palette.count > 256 || palette.type > kPaletteCmy) return kBadData;
  colors_ = palette.count;
  for (uint32_t i = 0; i < colors_; ++i) {
    const auto& entry = palette.entries[i];
    const uint8_t rgb[] = {entry.first, entry.second, entry.third};
    const auto invert = [](uint8_t v) { return static_cast<uint8_t>(255 - v); };
    const uint8_t cmy[] = {invert(rgb[0]), invert(rgb[1]), invert(rgb[2])};
    palette_[i] = palette.type == kPaletteGray
                      ? color::gray_entry(entry.first)
                      : color::rgb_entry(palette.type == kPaletteCmy ? cmy : rgb);
  }
  for (uint32_t i = 0; i < table_.size(); ++i) table_[i] = static_cast<uint8_t>(i);
  return kOk;
}

// Cleared: what a source leaves out is black, and never what memory held.
Status Strips::allocate(BitmapHandle& bitmap, uint32_t rows) const {
  TRY(core::init_bitmap(bitmap, picture_.width, static_cast<int32_t>(rows), bits_));
  bitmap.ViewPerspective = 0;
  set_resolution(picture_, bitmap);
  if (bits_ <= 8) {
    std::ranges::copy(palette_, bitmap.Info.Palette);
    bitmap.Colors = colors_;
    core::set_flag(bitmap, T_FLAG_GRAY, bits_ == 8 && picture_.type == kGray);
  }
  if (bitmap.Size == 0) return kBadData;
  TRY(core::allocate_quietly(bitmap));
  const core::QuietProgress quiet;
  return core::clear_bitmap(bitmap);
}

Status Strips::resize(uint32_t rows) {
  core::OwnedBitmap made;
  TRY(allocate(*made, rows));
  {
    const core::AccessScope from(*bitmap_);
    const core::AccessScope to(*made);
    for (uint32_t y = 0; y < came_; ++y) {
      TRY(core::get_row(*bitmap_, y, line_.bytes()));
      TRY(core::put_row(*made, y, line_.bytes()));
    }
  }
  core::take_place(*bitmap_, *made);
  return kOk;
}

Status Strips::add(const MemoryTransfer& strip, std::span<uint8_t> buffer) {
  if (strip.rows == 0 || !is_told(strip.rows)) return nothing_new();
  Piece piece;
  TRY(measure(strip, buffer, piece));
  if (low_bit_first_) mirror_bits(buffer);
  if (is_planar_) return put_plane(piece);
  TRY(make_room(piece));
  if (piece.rows == 0) return nothing_new();
  pixels_ += uint64_t{piece.rows} * piece.columns;
  const uint64_t most_rows =
      picture_.height != 0 ? static_cast<uint32_t>(bitmap_->Height) : kMostRows;
  if (pixels_ > 2 * most_rows * static_cast<uint32_t>(picture_.width)) return kBadData;
  TRY(put(piece));
  if (piece.x + piece.columns == static_cast<uint32_t>(picture_.width)) {
    next_ = piece.y + piece.rows;
  }
  came_ = std::max(came_, piece.y + piece.rows);
  idle_ = 0;
  return kOk;
}

Status Strips::nothing_new() { return ++idle_ > kMostIdle ? kBadData : kOk; }

// All that is read afterwards lies in the buffer: behind a last row there may be no padding.
Status Strips::measure(const MemoryTransfer& strip, std::span<uint8_t> buffer, Piece& piece) {
  if (strip.compression != 0 && strip.compression != kUntold16) return kBadData;
  const auto width = static_cast<uint32_t>(picture_.width);
  const bool is_part = strip.columns > 0 && strip.columns < width && !is_planar_;
  piece.columns = is_part ? strip.columns : width;
  piece.x = is_part && is_told(strip.x_offset) ? strip.x_offset : 0;
  if (piece.x > width - piece.columns) return kBadData;
  const uint64_t needed =
      is_planar_
          ? width
          : core::packed_bytes(piece.columns, in_bits_ * static_cast<int32_t>(sample_bytes_));
  const uint64_t last = uint64_t{strip.rows - 1} * strip.row_bytes;
  if (strip.row_bytes < needed || last + needed > buffer.size()) return kBadData;
  const bool is_counted = is_told(strip.written);
  if (is_counted && (strip.written < last + needed || strip.written > buffer.size())) {
    return kBadData;
  }
  piece.rows = strip.rows;
  piece.row_bytes = strip.row_bytes;
  piece.pixels = buffer.data();
  piece.y = first_row(strip, piece);
  return kOk;
}

// Strips follow one another, and many sources leave their place at 0 or say nothing of it. A place
// that is given is taken where it can be: tiles have one, and who sends strips in another order.
// Once another one has been told, 0 is a place, too.
uint32_t Strips::first_row(const MemoryTransfer& strip, const Piece& piece) {
  const uint32_t y = strip.y_offset;
  const bool is_tile = piece.columns < static_cast<uint32_t>(picture_.width);
  if (!is_told(y) || (y == 0 && !is_tile && !tells_places_)) return next_;
  const auto height = static_cast<uint32_t>(picture_.height);
  const bool fits = height == 0 ? y <= next_ : y < height && piece.rows <= height - y;
  tells_places_ |= fits && y != 0;
  return fits ? y : next_;
}

// Rows beyond the length that was told are left out.
Status Strips::make_room(Piece& piece) {
  const auto height = static_cast<uint32_t>(bitmap_->Height);
  if (picture_.height != 0) {
    piece.rows = piece.y < height ? std::min(piece.rows, height - piece.y) : 0;
    return kOk;
  }
  const uint64_t needed = uint64_t{piece.y} + piece.rows;
  if (needed > kMostRows) return kBadData;
  if (needed <= height) return kOk;
  return resize(std::min(kMostRows, std::max(static_cast<uint32_t>(needed), height + height / 2)));
}

Status Strips::put(const Piece& piece) {
  const core::AccessScope accessed(*bitmap_);
  for (uint32_t i = 0; i < piece.rows; ++i) {
    TRY(convert(piece.pixels + i * piece.row_bytes, piece.columns));
    TRY(put_part(piece, piece.y + i));
  }
  return kOk;
}

// What convert() left in part_ at its place in row `y`.
Status Strips::put_part(const Piece& piece, uint32_t y) {
  if (piece.columns == static_cast<uint32_t>(picture_.width)) {
    core::clear_padding(part_.bytes().first(line_.size()), picture_.width, bits_);
    return core::put_row(*bitmap_, y, part_.bytes().first(line_.size()));
  }
  const uint64_t first_bit = uint64_t{piece.x} * static_cast<uint32_t>(bits_);
  if (first_bit % 8 != 0) return kBadData;
  TRY(core::get_row(*bitmap_, y, line_.bytes()));
  const auto bytes = static_cast<size_t>(core::packed_bytes(piece.columns, bits_));
  std::memcpy(line_.data() + first_bit / 8, part_.data(), bytes);
  core::clear_padding(line_.bytes(), picture_.width, bits_);
  return core::put_row(*bitmap_, y, line_.bytes());
}

// A source with planes sends all red samples, then all green, then all blue ones.
Status Strips::put_plane(const Piece& piece) {
  const auto height = static_cast<uint32_t>(picture_.height);
  const core::AccessScope accessed(*bitmap_);
  for (uint32_t i = 0; i < piece.rows; ++i, ++next_) {
    const uint32_t plane = next_ / height;
    if (plane > 2) return nothing_new();
    idle_ = 0;
    const uint8_t* const from = piece.pixels + i * piece.row_bytes;
    TRY(core::get_row(*bitmap_, next_ % height, line_.bytes()));
    uint8_t* const to = line_.data() + (2 - plane);
    for (uint32_t x = 0; x < piece.columns; ++x) to[size_t{3} * x] = from[x];
    TRY(core::put_row(*bitmap_, next_ % height, line_.bytes()));
  }
  came_ = next_ / height > 2 ? height : 0;  // a picture has all its colours or is none
  return kOk;
}

Status Strips::convert(uint8_t* from, uint32_t columns) {
  if (sample_bytes_ == 2) {
    const uint32_t samples = columns * static_cast<uint32_t>(in_bits_ / 8);
    for (uint32_t i = 0; i < samples; ++i) from[i] = from[2 * i + 1];
  }
  if (bits_ == 24) return converter_.convert(from, part_.data(), static_cast<int32_t>(columns));
  if (bits_ == 8) {
    color::unpack_indices(in_bits_, from, table_, {part_.data(), columns});
    return kOk;
  }
  const auto bytes = static_cast<size_t>(core::packed_bytes(columns, 1));
  for (size_t i = 0; i < bytes; ++i) part_.data()[i] = static_cast<uint8_t>(from[i] ^ table_[0]);
  return kOk;
}

Status Strips::finish() {
  if (came_ == 0) return kBadData;
  const uint64_t needed = uint64_t{came_} * static_cast<uint32_t>(picture_.width);
  if (!is_planar_ && pixels_ < needed) return kBadData;
  if (came_ == static_cast<uint32_t>(bitmap_->Height)) return kOk;
  return resize(came_);
}

}  // namespace tavo::twain
