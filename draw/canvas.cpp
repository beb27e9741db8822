#include "draw/canvas.h"

#include <algorithm>
#include <cstring>

#include "draw/pixels.h"

namespace tavo::draw {

namespace {

// What a page may cost: so many times its pixels, and as much again for small ones.
constexpr int64_t kMostLayers = 4096;
constexpr int64_t kWorkOfAnyPage = int64_t{1} << 26;

constexpr int32_t floor_mod(int32_t value, int32_t by) {
  const int32_t rest = value % by;
  return rest < 0 ? rest + by : rest;
}

}  // namespace

Status Canvas::start(int32_t width, int32_t height, int32_t rows, uint32_t order) {
  width_ = width;
  height_ = height;
  rows_ = rows;
  order_ = order;
  line_ = size_t{3} * static_cast<size_t>(width);
  work_left_ = kWorkOfAnyPage + kMostLayers * width * height;
  TRY(pixels_.allocate(uint64_t{line_} * static_cast<uint32_t>(rows)));
  begin_band(0);
  return kOk;
}

void Canvas::start_noting(int32_t width, int32_t height) {
  width_ = width;
  height_ = rows_ = bottom_ = height;
  is_noting_ = true;
  work_left_ = kWorkOfAnyPage;
  clear_clip();
}

void Canvas::begin_band(int32_t top) {
  top_ = top;
  bottom_ = std::min(top + rows_, height_);
  std::memset(pixels_.data(), 0xFF, static_cast<size_t>(bottom_ - top_) * line_);
  clear_clip();
}

uint32_t Canvas::pixel(const T_PaletteEntry& color) const {
  const bool is_blue_first = order_ == T_ORDER_BGR;
  return static_cast<uint32_t>(is_blue_first ? color.Blue : color.Red) |
         uint32_t{color.Green} << 8 |
         static_cast<uint32_t>(is_blue_first ? color.Red : color.Blue) << 16;
}

void Canvas::clear_clip() {
  clip_box_ = band();
  has_clip_ = false;
}

Status Canvas::set_clip(const Region& clip) {
  clip_box_ = common(band(), clip.bounds());
  has_clip_ = clip.boxes().size() > 1;
  return has_clip_ ? clip_.assign(clip) : kOk;
}

template <class Use>
Status Canvas::clipped(int32_t y, int32_t left, int32_t right, Use use) {
  if (y < clip_box_.top || y >= clip_box_.bottom) return kOk;
  left = std::max(left, clip_box_.left);
  right = std::min(right, clip_box_.right);
  if (left >= right) return kOk;
  if (is_noting_) {
    const bool is_first = noted_.is_empty();
    noted_ = is_first ? Box{left, y, right, y + 1}
                      : Box{std::min(noted_.left, left), std::min(noted_.top, y),
                            std::max(noted_.right, right), std::max(noted_.bottom, y + 1)};
    return spend(1);
  }
  TRY(spend(right - left));
  return has_clip_ ? clip_.clip(y, left, right, use) : use(left, right);
}

Status Canvas::paint(int32_t y, int32_t left, int32_t right, const Ink& ink) {
  return clipped(y, left, right, [&](int32_t from, int32_t to) {
    ink.paint(pixels_.data() + offset(from, y), from, y, to - from);
    return kOk;
  });
}

Status Canvas::put(int32_t y, int32_t left, int32_t right, const uint8_t* from, RasterOp operation,
                   const Brush& brush) {
  return clipped(y, left, right, [&](int32_t begin, int32_t end) {
    uint8_t* to = pixels_.data() + offset(begin, y);
    const uint8_t* source = from + 3 * (begin - left);
    if (operation == kCopySource) {
      std::memcpy(to, source, size_t{3} * static_cast<size_t>(end - begin));
      return kOk;
    }
    const uint32_t pattern = pixel(brush.color);
    for (int32_t x = begin; x < end; ++x, to += 3, source += 3) {
      mix_pixel(to, operation.mix(pattern, load_pixel(source)));
    }
    return kOk;
  });
}

Ink::Ink(const Canvas& canvas, const Brush& brush, RasterOp operation)
    : brush_(brush),
      operation_(operation),
      is_solid_(brush.kind == Brush::Kind::kSolid || !operation.needs_pattern()),
      may_repeat_(operation.is_repeatable()),
      mix_(operation.mix(canvas.pixel(brush.color), 0)),
      background_(operation.mix(canvas.pixel(brush.background), 0)) {
  if (brush.is_transparent) background_ = {UINT32_MAX, 0};
}

void Ink::paint(uint8_t* to, int32_t left, int32_t y, int32_t count) const {
  if (!is_solid_) {
    paint_pattern(to, left, y, count);
  } else if (mix_.keep == 0) {
    fill_pixels(to, static_cast<size_t>(count), mix_.flip);
  } else {
    for (; count > 0; --count, to += 3) mix_pixel(to, mix_);
  }
}

void Ink::paint_pattern(uint8_t* to, int32_t left, int32_t y, int32_t count) const {
  const bool has_bits = brush_.kind == Brush::Kind::kBits;
  const int32_t cell = brush_.cell;
  const int32_t columns = (has_bits ? 8 : brush_.tile_width) * cell;
  const int32_t rows = (has_bits ? 8 : brush_.tile_height) * cell;
  const int32_t row = floor_mod(y - brush_.y_origin, rows) / cell;
  const uint8_t* const tile =
      has_bits ? nullptr : brush_.tile + size_t{3} * static_cast<size_t>(row * brush_.tile_width);
  int32_t at = floor_mod(left - brush_.x_origin, columns);
  for (; count > 0; --count, to += 3) {
    const int32_t column = cell == 1 ? at : at / cell;
    if (has_bits) {
      const bool is_set = (brush_.bits[static_cast<size_t>(row)] & 0x80 >> column) != 0;
      mix_pixel(to, is_set ? mix_ : background_);
    } else {
      mix_pixel(to, operation_.mix(load_pixel(tile + 3 * column), 0));
    }
    if (++at == columns) at = 0;
  }
}

}  // namespace tavo::draw
