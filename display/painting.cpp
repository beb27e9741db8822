#include "display/painting.h"

#include <algorithm>
#include <cstddef>

#include "base/settings.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "display/status.h"
#include "platform/platform.h"

namespace tavo::display {

using process::Axis;
using process::PaintedAs;
using process::PixelRect;

namespace {

constexpr size_t kBandBytes = 512 * 1024;  // that go to the device in one call

// One direction of the destination in device pixels.
bool place_axis(int64_t begin, int64_t end, int32_t& at, Axis& axis) {
  axis.is_mirrored = end < begin;
  const int64_t results = axis.is_mirrored ? begin - end : end - begin;
  if (results > INT32_MAX) return false;
  at = static_cast<int32_t>(std::min(begin, end));
  axis.results = static_cast<int32_t>(results);
  return true;
}

// The pixels of an area of device pixels in the destination that begins at (x, y).
PixelRect in_destination(const PixelRect& area, int64_t x, int64_t y) {
  const auto moved = [](int64_t value, int64_t by) {
    return static_cast<int32_t>(std::clamp<int64_t>(value - by, INT32_MIN, INT32_MAX));
  };
  return {moved(area.left, x), moved(area.top, y), moved(area.right, x), moved(area.bottom, y)};
}

}  // namespace

Status read_source(const BitmapHandle& picture, const RECT* source, PixelRect& part) {
  part = {0, 0, picture.Width, picture.Height};
  PixelRect asked = part;
  if (source != nullptr) asked = {source->left, source->top, source->right, source->bottom};
  if (asked.is_empty() || common_part(asked, part) != asked) return kBadArgument;
  part = asked;
  return kOk;
}

Status Painting::place(const PaintTarget& target) {
  PixelRect part;
  TRY(read_source(picture_, target.source, part));
  view_.across = {part.left, part.right - part.left};
  view_.down = {part.top, part.bottom - part.top};
  RECT to = {0, 0, view_.across.samples, view_.down.samples};
  if (target.destination != nullptr) to = *target.destination;
  RECT clip = target.clip != nullptr ? *target.clip : RECT{};
  TRY(map_to_device(canvas_.dc(), to));
  TRY(map_to_device(canvas_.dc(), clip));
  if (!place_axis(to.left, to.right, x_, view_.across)) return kBadArgument;
  if (!place_axis(to.top, to.bottom, y_, view_.down)) return kBadArgument;
  wanted_ = {0, 0, width(), height()};
  if (target.clip == nullptr) return kOk;
  const PixelRect area = {std::min(clip.left, clip.right), std::min(clip.top, clip.bottom),
                          std::max(clip.left, clip.right), std::max(clip.top, clip.bottom)};
  wanted_ = common_part(wanted_, in_destination(area, x_, y_));
  return kOk;
}

Status Painting::start(const PaintTarget& target) {
  if (target.rop != 0) rop_ = target.rop;
  TRY(place(target));
  if (wanted_.is_empty()) return kOk;
  TRY(canvas_.start());
  wanted_ = common_part(wanted_, in_destination(canvas_.visible(), x_, y_));
  return wanted_.is_empty() ? kOk : start_rows();
}

Status Painting::start_rows() {
  const PaintSettings& paint = settings.paint;
  const int32_t bits = picture_.BitsPerPixel;
  const HPALETTE palette = selected_palette(canvas_.dc());
  is_by_palette_ = bits <= 8 && paint.indexed && palette != nullptr;
  TRY(colors_.start(picture_, is_by_palette_));
  const bool averages = process::averages(bits, colors_.has_table(), paint);
  for (Axis* axis : {&view_.across, &view_.down}) {
    axis->takes_means = averages && axis->samples > axis->results;
  }
  view_.left = wanted_.left;
  view_.right = wanted_.right;
  if (band_.rows != nullptr) {
    rows_.start(band_);
  } else {
    const Axis& down = view_.down;
    TRY(rows_.start(!down.takes_means && down.samples / 4 > down.results));
  }
  if (is_straight()) return kOk;

  BitmapHandle described = picture_;
  if (is_by_palette_) described.GdiObjectA = reinterpret_cast<uintptr_t>(palette);
  is_by_palette_ = is_by_palette_ && !view_.takes_means();  // means are colors
  process::PaintPlan plan = {.view = view_, .table = &colors_.table()};
  plan.color_bits = colors_.color_bits();
  if (is_by_palette_) {
    plan.as = PaintedAs::kIndices;
  } else if (colors_.has_table()) {
    plan.as = PaintedAs::kTable;
  }
  plan.dithers = paint.dithered;
  plan.is_ordered = paint.ordered || band_.rows != nullptr;
  TRY(painted_.start(plan, color::PaintPalette(described)));
  if (is_by_palette_) {
    canvas_.take_palette_indices(painted_.bits());
  } else if (colors_.has_table()) {
    canvas_.take_indices(painted_.bits(), {colors_.table().entries, colors_.table().count});
  } else {
    canvas_.take_colors(painted_.bits());
  }
  return kOk;
}

Status Painting::draw(const CanvasRows& rows, const PixelRect& part) {
  return canvas_.draw(rows, {x_ + part.left, y_ + part.top, x_ + part.right, y_ + part.bottom},
                      rop_);
}

// Whether the storage has the rows as they are drawn.
bool Painting::is_straight() const {
  return picture_.BitsPerPixel == 32 && picture_.Order == T_ORDER_BGR && !colors_.has_table() &&
         view_.across.is_plain() && view_.down.is_plain() && band_.rows == nullptr &&
         core::is_memory(picture_);
}

Status Painting::paint_straight(const PixelRect& part) {
  canvas_.take_colors(32);
  const bool is_bottom_up = picture_.ViewPerspective >= 2;
  const int32_t first = is_bottom_up ? part.bottom - 1 : part.top;
  CanvasRows rows = {nullptr, picture_.Width, view_.across.first + part.left, is_bottom_up};
  TRY(rows_.get(view_.down.center(first), rows.bytes));
  return draw(rows, part);
}

// The end of the rows from `top` on whose source has come.
int32_t Painting::end_of_rows(int32_t top) const {
  if (band_.rows == nullptr) return wanted_.bottom;
  int32_t end = top;
  while (end < wanted_.bottom && rows_.has(view_.down.center(end))) ++end;
  return end;
}

Status Painting::paint_rows(int32_t top, int32_t bottom) {
  const size_t stride = painted_.stride();
  const CanvasRows rows = {buffer_.data(), painted_.width(), wanted_.left - painted_.left()};
  const auto capacity = static_cast<int32_t>(buffer_.size() / stride);
  for (int32_t y = top, end = top; y < bottom; y = end) {
    end = std::min(bottom - y, capacity) + y;
    for (int32_t row = y; row < end; ++row) {
      TRY(painted_.row(row, buffer_.data() + static_cast<size_t>(row - y) * stride));
    }
    TRY(draw(rows, {wanted_.left, y, wanted_.right, end}));
  }
  return kOk;
}

Status Painting::paint() {
  if (wanted_.is_empty()) return kOk;
  if (is_straight()) return paint_straight(wanted_);
  const size_t stride = painted_.stride();
  const auto height = static_cast<size_t>(wanted_.bottom - wanted_.top);
  TRY(buffer_.allocate(uint64_t{stride} * std::clamp<size_t>(kBandBytes / stride, 1, height)));
  for (int32_t y = wanted_.top; y < wanted_.bottom;) {
    const int32_t end = end_of_rows(y);
    if (end > y) TRY(paint_rows(y, end));
    y = std::max(end, y + 1);
  }
  return kOk;
}

Status Painting::keep() {
  if (wanted_.is_empty() || is_straight()) return kOk;
  const size_t stride = painted_.stride();
  TRY(buffer_.allocate(uint64_t{stride} * static_cast<uint64_t>(wanted_.bottom - wanted_.top)));
  for (int32_t y = wanted_.top; y < wanted_.bottom; ++y) {
    TRY(painted_.row(y, buffer_.data() + static_cast<size_t>(y - wanted_.top) * stride));
  }
  return kOk;
}

Status Painting::paint_part(const PixelRect& part) {
  const PixelRect drawn = common_part(part, wanted_);
  if (drawn.is_empty()) return kOk;
  if (is_straight()) return paint_straight(drawn);
  const auto skipped = static_cast<size_t>(drawn.top - wanted_.top);
  const CanvasRows rows = {buffer_.data() + skipped * painted_.stride(), painted_.width(),
                           drawn.left - painted_.left()};
  return draw(rows, drawn);
}

}  // namespace tavo::display
