#include "formats/pict_page.h"

#include <algorithm>
#include <cstring>

#include "core/bitmap.h"
#include "formats/pict_rows.h"

namespace tavo::pict {

namespace {

// Pictures paint their page once or twice. What claims to be painted far more often takes time that
// nobody has.
constexpr uint64_t kMostPainted = uint64_t{1} << 32;

size_t row_bytes(const Bitmap& bitmap) {
  const int32_t bits = bitmap.bits == 2 ? 4 : static_cast<int32_t>(bitmap.bits);
  return static_cast<size_t>(
      core::packed_bytes(static_cast<uint64_t>(bitmap.source.width()), bits));
}

}  // namespace

// Where a bitmap goes, in pixels of the page.
struct Page::Place {
  int64_t left = 0, right = 0, top = 0, bottom = 0;
  uint32_t columns = 0;  // of the bitmap
  uint32_t rows = 0;

  int64_t column(int64_t x) const { return (x - left) * columns / (right - left); }
  uint32_t row(int64_t y) const { return static_cast<uint32_t>((y - top) * rows / (bottom - top)); }
};

Status Page::start() {
  width_ = layout_.picture.width;
  height_ = layout_.picture.height;
  line_ = core::bytes_per_line(width_, 24);
  TRY(pixels_.allocate(uint64_t{line_} * static_cast<uint32_t>(height_)));
  std::ranges::fill(pixels_.bytes(), uint8_t{0xFF});
  return kOk;
}

Status Page::start_row(const Bitmap& bitmap) {
  TRY(row_.allocate(row_bytes(bitmap) + RowReader::kSlack));
  TRY(colors_.allocate(size_t{3} * static_cast<uint32_t>(bitmap.source.width())));
  process::SourcePicture pixels;
  describe_pixels(bitmap, pixels);
  return convert_.start(pixels.bits, 24, static_cast<int32_t>(pixels.order), T_ORDER_RGB,
                        pixels.palette, nullptr);
}

// Row `row` of the bitmap as colours.
Status Page::take_row(RowReader& rows, const Bitmap& bitmap, uint32_t row) {
  TRY(rows.skip(row - rows.row()));
  TRY(rows.next(row_.bytes().first(row_bytes(bitmap))));
  return convert_.convert(row_.data(), colors_.data(), bitmap.source.width());
}

// The unit of the picture's coordinates in which row `y` of the page lies.
int32_t Page::unit_of(uint32_t y) {
  const int32_t top = layout_.space.top;
  const Scale& scale = layout_.scale;
  auto unit = static_cast<int32_t>(y * scale.units / scale.pixels);
  while (scale.pixel(unit + 1, 0) <= y) ++unit;
  while (unit > 0 && scale.pixel(unit, 0) > y) --unit;
  return top + unit;
}

void Page::paint_row(const Place& place, uint32_t y, RegionRows& clip, RegionRows& mask) {
  uint8_t* const line = pixels_.data() + y * line_;
  const int32_t unit = unit_of(y);
  const int32_t space_left = layout_.space.left;
  const int64_t least = std::max<int64_t>(place.left, 0);
  const int64_t most = std::min<int64_t>(place.right, width_);
  for_each_common(clip.row(unit), mask.row(unit), [&](int32_t from, int32_t to) {
    const int64_t left = std::max(layout_.scale.pixel(from, space_left), least);
    const int64_t right = std::min(layout_.scale.pixel(to, space_left), most);
    if (left >= right) return;
    uint8_t* out = line + 3 * left;
    if (place.right - place.left == place.columns) {
      std::memcpy(out, colors_.data() + 3 * (left - place.left),
                  static_cast<size_t>(3 * (right - left)));
      return;
    }
    for (int64_t x = left; x < right; ++x, out += 3) {
      std::memcpy(out, colors_.data() + 3 * place.column(x), 3);
    }
  });
}

Status Page::paint(Records& records) {
  const Bitmap& bitmap = records.bitmap();
  const Rect& to = bitmap.destination;
  const Rect& space = layout_.space;
  const Scale& scale = layout_.scale;
  const Place place = {scale.pixel(to.left, space.left),
                       scale.pixel(to.right, space.left),
                       scale.pixel(to.top, space.top),
                       scale.pixel(to.bottom, space.top),
                       static_cast<uint32_t>(bitmap.source.width()),
                       static_cast<uint32_t>(bitmap.source.height())};
  const auto first = static_cast<uint32_t>(std::max<int64_t>(place.top, 0));
  const auto end = std::min<int64_t>(place.bottom, height_);
  if (place.left >= place.right || first >= end) return kOk;
  RegionRows clip, mask;
  TRY(clip.start(records.clip()));
  TRY(mask.start(records.mask()));
  TRY(start_row(bitmap));
  uint32_t next = 0;  // row of the bitmap
  for (uint32_t y = first; y < end; ++y) {
    const uint32_t row = place.row(y);
    if (row >= next) {
      painted_ += bitmap.row_bytes;
      TRY(take_row(records.rows(), bitmap, row));
      next = row + 1;
    }
    painted_ += line_;
    if (painted_ > kMostPainted) return kBadData;
    paint_row(place, y, clip, mask);
    painted_rows_ = std::max(painted_rows_, y + 1);
  }
  return records.rows().outcome();
}

Status Page::deliver(uint32_t count, bool is_whole, process::RowDelivery& rows) {
  for (uint32_t y = 0; y < count; ++y) {
    std::memcpy(rows.next_row().data(), pixels_.data() + y * line_, line_);
    TRY(rows.commit(1, is_whole ? 1 : 0));
  }
  return kOk;
}

Status Joiner::commit(bool is_whole) {
  answer_ = rows_.commit(1, is_whole ? 1 : 0);
  return answer_;
}

Status Joiner::pass_on(RowReader& rows, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y) {
    TRY(rows.next(rows_.next_row()));
    TRY(commit(rows.outcome().ok()));
  }
  return rows.outcome();
}

// A row of the band as a picture of its own has it.
Status Joiner::put_beside(RowReader& rows, const Bitmap& bitmap) {
  const auto height = static_cast<uint32_t>(bitmap.source.height());
  const auto width = static_cast<uint32_t>(bitmap.source.width());
  const size_t line = rows_.source_line();
  if (filled_ == 0) TRY(band_.allocate(uint64_t{line} * height));
  TRY(row_.allocate(row_bytes(bitmap) + RowReader::kSlack));
  const uint32_t bits = static_cast<uint32_t>(layout_.picture.bits);
  for (uint32_t y = 0; y < height; ++y) {
    TRY(rows.next(row_.bytes().first(row_bytes(bitmap))));
    move_pixels(row_.data(), 0, band_.data() + line * y, filled_, width, bits);
  }
  filled_ += width;
  return rows.outcome();
}

Status Joiner::deliver_band() {
  const size_t line = rows_.source_line();
  for (size_t at = 0; at < band_.size(); at += line) {
    std::memcpy(rows_.next_row().data(), band_.data() + at, line);
    TRY(commit(true));
  }
  filled_ = 0;
  band_.release();
  return kOk;
}

Status Joiner::add(Records& records) {
  const Bitmap& bitmap = records.bitmap();
  if (bitmap.source.width() == layout_.picture.width) {
    return pass_on(records.rows(), static_cast<uint32_t>(bitmap.source.height()));
  }
  TRY(put_beside(records.rows(), bitmap));
  const bool is_full = filled_ >= static_cast<uint32_t>(layout_.picture.width);
  return is_full ? deliver_band() : kOk;
}

}  // namespace tavo::pict
