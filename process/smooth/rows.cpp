#include "process/smooth/rows.h"

#include <algorithm>

#include "base/vector_sse2.h"
#include "color/paint_palette.h"
#include "color/planes.h"
#include "core/bitmap.h"
#include "core/rows.h"
#include "process/work_rows.h"

namespace tavo::process {

namespace {

using namespace sse2;

constexpr uint64_t kOverrun = 64;  // of loops that end with a whole vector

void widen_samples(const uint8_t* from, uint32_t count, int16_t* to) {
  uint32_t x = 0;
  for (; x + 8 <= count; x += 8) store(to + x, load_widened8(from + x));
  for (; x < count; ++x) to[x] = from[x];
}

// Sixteen pixels at a time.
void join_triples(const uint8_t* planes, size_t stride, uint32_t count, uint8_t* to) {
  for (uint32_t x = 0; x < count; x += 16, to += 48) {
    store_triples(to, load(planes + x), load(planes + stride + x), load(planes + 2 * stride + x));
  }
}

}  // namespace

Status describe_smooth(BitmapHandle& made, const BitmapHandle& picture, int32_t width,
                       int32_t height) {
  TRY(describe_widened(made, picture, widening_of(picture), width, height));
  made.ViewPerspective = picture.ViewPerspective;
  return made.Size != 0 ? kOk : kBadSize;
}

Status SmoothRows::start(const SmoothPlan& plan, const BitmapHandle& from, const BitmapHandle& to) {
  width_ = from.Width, new_width_ = to.Width;
  bits_ = from.BitsPerPixel, new_bits_ = to.BitsPerPixel;
  new_line_ = to.BytesPerLine;
  planes_ = new_bits_ == 8 ? 1 : 3;
  const SmoothSide across = {width_, new_width_, plan.width, plan.scale, false};
  const SmoothSide down = {from.Height, to.Height, plan.height, plan.scale,
                           from.ViewPerspective >= 2};
  TRY(carried_.start(bits_, across, down));
  wide_bits_ = bits_;
  if (!keeps_layout(from, widening_of(from))) {
    const color::PaintPalette colors(from);
    TRY(wide_.allocate((static_cast<uint64_t>(width_) + kOverrun) * planes_));
    TRY(widen_.start(bits_, planes_ == 1 ? 0 : 24, T_ORDER_RGB, T_ORDER_BGR, colors.entries,
                     nullptr));
    wide_bits_ = planes_ == 1 ? 8 : 24;
  }
  if (bits_ != 16 && means_.fits(plan.filter, across, down)) {
    return means_.start(static_cast<uint32_t>(width_), static_cast<uint32_t>(wide_bits_) / 8);
  }
  return start_planes(plan.filter, across, down);
}

Status SmoothRows::start_planes(SmoothFilter filter, const SmoothSide& across,
                                const SmoothSide& down) {
  TRY(resizer_.start(filter, across, down, planes_));
  const auto pixels = static_cast<uint64_t>(new_width_) + kOverrun;
  if (planes_ == 3) TRY(colors_.allocate(pixels * 3));
  if (new_bits_ == 8 || new_bits_ == 24) return kOk;
  TRY(out_.allocate(pixels * 4));
  return narrow_.start(24, new_bits_, T_ORDER_BGR, T_ORDER_BGR, nullptr, nullptr);
}

const uint8_t* SmoothRows::widened(const uint8_t* row) {
  if (wide_.size() == 0) return row;
  (void)widen_.convert(row, wide_.data(), width_);  // cannot fail: it has been started
  return wide_.data();
}

// A row as planes of wide samples. Which color is which does not matter: the first byte or lowest
// bits of a pixel are called blue, and come back there.
void SmoothRows::split(const uint8_t* row) {
  const auto width = static_cast<uint32_t>(width_);
  if (planes_ == 1) return widen_samples(row, width, resizer_.plane(0));
  color::Planes planes;
  for (uint32_t x = 0, n = 0; x < width; x += n) {
    n = std::min(color::kPlanePixels, width - x);
    color::split_pixels(row + size_t{x} * static_cast<uint32_t>(wide_bits_) / 8, wide_bits_,
                        T_ORDER_BGR, n, planes);
    widen_samples(planes.blue, n, resizer_.plane(0) + x);
    widen_samples(planes.green, n, resizer_.plane(1) + x);
    widen_samples(planes.red, n, resizer_.plane(2) + x);
  }
}

// Planes as a row of the result.
uint8_t* SmoothRows::join(uint8_t* planes, size_t stride) {
  if (planes_ == 1) return planes;
  join_triples(planes, stride, static_cast<uint32_t>(new_width_), colors_.data());
  if (new_bits_ == 24) return colors_.data();
  (void)narrow_.convert(colors_.data(), out_.data(), new_width_);  // cannot fail: it was started
  return out_.data();
}

Status SmoothRows::put(uint8_t* result, Sink sink) {
  carried_.put(result);
  core::clear_padding({result, new_line_}, new_width_, new_bits_);
  return sink(result);
}

Status SmoothRows::take(const uint8_t* row, Sink sink) {
  carried_.take(row);
  row = widened(row);
  if (means_.is_started()) {
    uint8_t* const result = means_.take(row);
    return result != nullptr ? put(result, sink) : kOk;
  }
  split(row);
  return resizer_.commit(
      [&](uint8_t* planes, size_t stride) { return put(join(planes, stride), sink); });
}

}  // namespace tavo::process
