#include "draw/placement.h"

#include <algorithm>

#include "draw/pixels.h"

namespace tavo::draw {

Status PlacedPicture::start(int32_t width) {
  const Box visible = common(place_.target, {0, 0, canvas_.width(), canvas_.height()});
  left_ = right_ = visible.left;
  if (visible.is_empty()) return kOk;
  const auto count = static_cast<uint64_t>(visible.right - visible.left);
  TRY(columns_.allocate(count));
  const int64_t from = int64_t{place_.source.right} - place_.source.left;
  const int64_t to = int64_t{place_.target.right} - place_.target.left;
  // Columns that the picture does not have are not drawn; they are at one end or at both.
  for (int32_t x = visible.left; x < visible.right; ++x) {
    const int64_t i = int64_t{x} - place_.target.left;
    const int64_t column = place_.source.left + (place_.is_mirrored ? to - 1 - i : i) * from / to;
    if (column < 0 || column >= width) {
      if (left_ == x) left_ = right_ = x + 1;
      continue;
    }
    columns_[static_cast<size_t>(x - left_)] = static_cast<uint32_t>(3 * column);
    right_ = x + 1;
  }
  is_plain_ = from == to && !place_.is_mirrored;
  return is_plain_ ? kOk : line_.allocate(3 * count);
}

Status PlacedPicture::put_row(int32_t y, const uint8_t* pixels) {
  const Box& source = place_.source;
  const Box& target = place_.target;
  if (y < source.top || y >= source.bottom || left_ >= right_) return kOk;
  const int64_t from = int64_t{source.bottom} - source.top,
                to = int64_t{target.bottom} - target.top;
  const int64_t row = int64_t{y} - source.top;
  int64_t first = (row * to + from - 1) / from, end = ((row + 1) * to + from - 1) / from;
  if (place_.is_flipped) {
    std::swap(first, end);
    first = to - first;
    end = to - end;
  }
  const Box& seen = canvas_.clip_box();
  first = std::max<int64_t>(target.top + first, seen.top);
  end = std::min<int64_t>(target.top + end, seen.bottom);
  if (first >= end) return kOk;

  const uint8_t* line = pixels + columns_[0];
  if (!is_plain_) {
    line = line_.data();
    uint8_t* to_pixel = line_.data();
    const auto count = static_cast<size_t>(right_ - left_);
    for (size_t i = 0; i < count; ++i, to_pixel += 3) {
      store_pixel(to_pixel, load_pixel(pixels + columns_[i]));
    }
  }
  for (auto at = static_cast<int32_t>(first); at < end; ++at) TRY(put_line(at, line));
  return kOk;
}

// Piece by piece where some of it is hidden.
Status PlacedPicture::put_line(int32_t y, const uint8_t* line) {
  if (hidden_ == kNone) return canvas_.put(y, left_, right_, line, operation_, brush_);
  const auto pixel = [&](int32_t x) { return line + 3 * int64_t{x - left_}; };
  for (int32_t x = left_; x < right_;) {
    while (x < right_ && load_pixel(pixel(x)) == hidden_) ++x;
    const int32_t first = x;
    while (x < right_ && load_pixel(pixel(x)) != hidden_) ++x;
    if (first < x) TRY(canvas_.put(y, first, x, pixel(first), operation_, brush_));
  }
  return kOk;
}

}  // namespace tavo::draw
