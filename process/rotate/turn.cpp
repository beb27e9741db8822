#include "process/rotate/turn.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/buffer.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/rotate/turn_rows.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// What becomes of rows that stay rows.
struct Mirroring {
  bool upside_down;
  bool left_to_right;
};

// A row of `bitmap` as it is or mirrored.
class RowMaker {
 public:
  RowMaker(const BitmapHandle& bitmap, bool mirrors)
      : width_(static_cast<size_t>(bitmap.Width)),
        bytes_(bitmap.BytesPerLine),
        bits_(bitmap.BitsPerPixel),
        mirror_(mirrors ? mirror_row(bitmap.BitsPerPixel) : nullptr) {}

  void make(const uint8_t* row, uint8_t* out) const {
    if (mirror_ == nullptr) {
      std::memcpy(out, row, bytes_);
    } else {
      mirror_(row, out, width_);
    }
    core::clear_padding({out, bytes_}, static_cast<int32_t>(width_), bits_);
  }

 private:
  size_t width_;
  size_t bytes_;
  int32_t bits_;
  MirrorRow mirror_;
};

// Nothing can fail once the work row is there.
Status mirror_in_place(BitmapHandle& bitmap, Mirroring mirroring) {
  Buffer work;
  TRY(work.allocate(bitmap.BytesPerLine));
  RowWindow rows(bitmap);
  TRY(rows.start());
  const RowMaker maker(bitmap, mirroring.left_to_right);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  if (!mirroring.upside_down) {
    for (uint32_t y = 0; y < height; ++y) {
      maker.make(rows.row(y), work.data());
      std::memcpy(rows.row(y), work.data(), work.size());
    }
    return kOk;
  }
  for (uint32_t y = 0; y < (height + 1) / 2; ++y) {
    uint8_t* const upper = rows.row(y);
    uint8_t* const lower = rows.row(height - 1 - y);
    maker.make(upper, work.data());
    if (lower != upper) maker.make(lower, upper);
    std::memcpy(lower, work.data(), work.size());
  }
  return kOk;
}

Status mirror_into(BitmapHandle& made, BitmapHandle& bitmap, Mirroring mirroring,
                   core::Progress& progress) {
  RowWindow from(bitmap);
  RowWindow to(made);
  TRY(from.start());
  TRY(to.start());
  const RowMaker maker(bitmap, mirroring.left_to_right);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const uint32_t step = std::min({from.capacity(), to.capacity(), 64u});
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(step, height - y);
    const uint32_t first = mirroring.upside_down ? height - y - n : y;
    TRY(from.read(first, n));
    to.open(y);
    for (uint32_t i = 0; i < n; ++i) {
      const uint32_t source = mirroring.upside_down ? n - 1 - i : i;
      maker.make(from.row(first + source), to.row(y + i));
    }
    TRY(to.store(y, n));
    TRY(progress.at(y + n, height));
  }
  return progress.finish();
}

Status mirror(BitmapHandle& bitmap, Mirroring mirroring) {
  if (may_work_in_place(bitmap)) return mirror_in_place(bitmap, mirroring);
  core::Progress progress;
  TRY(progress.start());
  core::OwnedBitmap made;
  TRY(allocate_like(*made, bitmap));
  TRY(mirror_into(*made, bitmap, mirroring, progress));
  core::take_place(bitmap, *made);
  return kOk;
}

// Columns x0 to x0 + count of the turned picture, `reversed` telling that they come from the last
// row of the source to the first.
Status turn_band(RowWindow& from, RowWindow& to, const BitmapHandle& bitmap, uint32_t x0,
                 uint32_t count, bool reversed, core::Progress& progress) {
  const auto rows = static_cast<uint32_t>(bitmap.Width);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const uint32_t first = reversed ? height - x0 - count : x0;
  const bool is_all = count == height;
  TRY(from.read(first, count));
  const RowsIn in = reversed ? RowsIn{from.row(first + count - 1), -from.stride()}
                             : RowsIn{from.row(first), from.stride()};
  const size_t out_byte = size_t{x0} / 8 * static_cast<uint32_t>(bitmap.BitsPerPixel);
  // Bands of rows of the result, as its columns are bands of the source: the other way turned, they
  // come from the last column to the first.
  constexpr uint32_t kColumns = 64;
  for (uint32_t x = 0, n = 0; x < rows; x += n) {
    n = std::min({kColumns, to.capacity(), rows - x});
    const uint32_t y = reversed ? x : rows - x - n;
    if (is_all) {
      to.open(y);
    } else {
      TRY(to.read(y, n));
    }
    const RowsOut out = reversed ? RowsOut{to.row(y) + out_byte, to.stride()}
                                 : RowsOut{to.row(y + n - 1) + out_byte, -to.stride()};
    const size_t in_byte = size_t{x} / 8 * static_cast<uint32_t>(bitmap.BitsPerPixel);
    transpose(bitmap.BitsPerPixel)({in.first + in_byte, in.stride}, out, n, count);
    TRY(to.store(y, n));
    TRY(progress.at(uint64_t{rows} * x0 + uint64_t{count} * (x + n), uint64_t{rows} * height));
  }
  return kOk;
}

// In stored rows: `reversed` is clockwise where row 0 is the top one.
Status turn_into(BitmapHandle& made, BitmapHandle& bitmap, bool reversed,
                 core::Progress& progress) {
  constexpr uint32_t kAligned = 64;  // columns of a band begin whole bytes of the result's rows
  RowWindow from(bitmap);
  RowWindow to(made);
  TRY(from.start(kAligned));
  TRY(to.start(kAligned));
  const auto height = static_cast<uint32_t>(bitmap.Height);
  const bool is_all = from.capacity() >= height;
  const uint32_t step = is_all ? height : from.capacity() & ~(kAligned - 1);
  for (uint32_t x = 0, n = 0; x < height; x += n) {
    n = std::min(step, height - x);
    TRY(turn_band(from, to, bitmap, x, n, reversed, progress));
  }
  return progress.finish();
}

Status quarter_turn(BitmapHandle& bitmap, bool clockwise) {
  core::OwnedBitmap made;
  TRY(core::init_bitmap(*made, bitmap.Height, bitmap.Width, bitmap.BitsPerPixel));
  if (made->Size == 0) return kBadSize;
  core::Progress progress;
  TRY(progress.start());
  TRY(core::allocate_quietly(*made));
  TRY(core::copy_description_resized(*made, bitmap));
  const bool top_first = bitmap.ViewPerspective < 2;
  TRY(turn_into(*made, bitmap, clockwise == top_first, progress));
  core::take_place(bitmap, *made);
  std::swap(bitmap.XResolution, bitmap.YResolution);
  return kOk;
}

}  // namespace

Status turn_bitmap(BitmapHandle& bitmap, uint32_t quarters) {
  if (quarters == 2) return mirror(bitmap, {.upside_down = true, .left_to_right = true});
  return quarter_turn(bitmap, quarters == 1);
}

Status rotate_bitmap(BitmapHandle& bitmap, int32_t degrees) {
  if (degrees % 90 != 0) return kBadArgument;
  TRY(check_bitmap(bitmap));
  const int32_t quarters = degrees / 90 % 4;
  if (quarters == 0) return kOk;
  return turn_bitmap(bitmap, static_cast<uint32_t>(quarters + 4) % 4);
}

Status flip_bitmap(BitmapHandle& bitmap) {
  TRY(check_bitmap(bitmap));
  return mirror(bitmap, {.upside_down = true, .left_to_right = false});
}

Status reverse_bitmap(BitmapHandle& bitmap) {
  TRY(check_bitmap(bitmap));
  return mirror(bitmap, {.upside_down = false, .left_to_right = true});
}

}  // namespace tavo::process
