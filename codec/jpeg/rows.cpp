#include "codec/jpeg/rows.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"

namespace tavo::jpeg {
namespace {

bool has_black(ColorSpace space) {
  return space == ColorSpace::kCmyk || space == ColorSpace::kInvertedCmyk ||
         space == ColorSpace::kYcck || space == ColorSpace::kInvertedYcck;
}

// 255 stands for no ink.
bool is_inverted(ColorSpace space) {
  return space == ColorSpace::kInvertedCmyk || space == ColorSpace::kInvertedYcck;
}

// Y is grey (JFIF 1.02): its chroma need not be decoded.
size_t components_for(ColorSpace space, PixelLayout layout) {
  if (space == ColorSpace::kGray) return 1;
  if (space == ColorSpace::kYcc) return layout == PixelLayout::kGray8 ? 1 : 3;
  return has_black(space) ? 4 : 3;
}

}  // namespace

// A.1.1 lets factors be any from 1 to 4, and ratios any of two of them. kept: which ones are
// smoothed, and from which width on, follows libjpeg-turbo 2, so that pictures come out as users
// know them; one that has no neighbours to weigh, and 4 x 1 or 3 x 2, are repeated.
RowMaker::Scaling RowMaker::choose_scaling(const Component& c) const {
  const bool has_full_width = c.h == frame_->h_max;
  const bool has_full_height = c.v == frame_->v_max;
  const bool has_half_width = uint32_t{c.h} * 2 == frame_->h_max;
  const bool has_half_height = uint32_t{c.v} * 2 == frame_->v_max;
  if (has_full_width && has_full_height) return Scaling::kNone;
  if (has_full_width && has_half_height) return Scaling::kDoubleHeight;
  if (has_half_width && has_full_height && c.width > 2) return Scaling::kDoubleWidth;
  if (has_half_width && has_half_height && c.width > 2) return Scaling::kDoubleBoth;
  return Scaling::kRepeat;
}

// Rows have room for an MCU more, as the transform takes pairs of them, and slack on both sides,
// where the upsampling kernels read neighbours that do not exist.
Status RowMaker::start(const SampleFrame& samples, ColorSpace space, PixelLayout layout,
                       bool is_smooth) {
  const Frame& frame = samples.frame;
  frame_ = &frame;
  unit_ = samples.eighths;
  space_ = space;
  layout_ = layout;
  needed_ = components_for(space, layout);
  needs_context_ = false;
  upsampling_ = &choose_upsampling();
  color_ = &choose_color_conversion();
  const uint64_t row_bytes = uint64_t{unit_} * frame.h_max * (frame.mcus_wide + 1) + 2 * kRowSlack;
  for (size_t i = 0; i < needed_; ++i) {
    const Component& c = frame.components[i];
    Plane& plane = planes_[i];
    plane.mcu_rows = unit_ * c.v;
    plane.scaling = choose_scaling(c);
    if (!is_smooth && plane.scaling != Scaling::kNone) plane.scaling = Scaling::kRepeat;
    plane.stride =
        round_up<size_t>(size_t{unit_} * c.h * (frame.mcus_wide + 1) + 2 * kRowSlack, 64);
    TRY(plane.samples.allocate(uint64_t{plane.stride} * plane.mcu_rows * 2));
    if (plane.scaling != Scaling::kNone) TRY(plane.scaled.allocate(row_bytes));
    if (plane.scaling == Scaling::kDoubleBoth || plane.scaling == Scaling::kDoubleHeight) {
      needs_context_ = true;
    }
  }
  if (has_black(space) || (space == ColorSpace::kRgb && layout == PixelLayout::kGray8)) {
    for (Buffer& row : light_) TRY(row.allocate(row_bytes));
  }
  return kOk;
}

// Two MCU rows take turns in the plane.
uint8_t* RowMaker::mcu_row(size_t component, uint32_t row) {
  Plane& plane = planes_[component];
  return plane.samples.data() + kRowSlack + (row & 1) * plane.mcu_rows * plane.stride;
}

// The middle of the range, but no black ink.
uint8_t RowMaker::lost_sample(size_t component) const {
  if (component < 3) return 128;
  return is_inverted(space_) ? 255 : 0;
}

// Smooth upsampling wants a row of the next MCU row for the last one.
uint32_t RowMaker::ready_rows(uint32_t mcu_rows) const {
  if (mcu_rows >= frame_->mcus_high) return frame_->height;
  const uint32_t rows = mcu_rows * unit_ * frame_->v_max;
  return needs_context_ && rows > 0 ? rows - 1 : rows;
}

// The plane holds two MCU rows: those of `y` and of its neighbours above and below.
const uint8_t* RowMaker::sample_row(size_t component, uint32_t y) const {
  const Plane& plane = planes_[component];
  return plane.samples.data() + kRowSlack + y % (2 * plane.mcu_rows) * plane.stride;
}

// `near` and `far` of upsample.h: sample centres lie in the middle of the pixels they stand for
// (JFIF 1.02), so that of two pixel rows the upper one is nearer to the sample row above.
const uint8_t* RowMaker::picture_row(size_t component, uint32_t y) {
  Plane& plane = planes_[component];
  const Component& c = frame_->components[component];
  uint8_t* out = plane.scaled.data();
  // The sample row that lies nearer and the one on the other side, which edges lack.
  const uint32_t near = y / 2;
  const uint32_t far = (y & 1) != 0 ? std::min(near + 1, c.height - 1) : near - (near > 0 ? 1 : 0);
  switch (plane.scaling) {
    case Scaling::kNone:
      return sample_row(component, y);
    case Scaling::kDoubleWidth:
      upsampling_->double_width(sample_row(component, y), c.width, out);
      break;
    case Scaling::kDoubleBoth:
      upsampling_->double_both(sample_row(component, near), sample_row(component, far), c.width,
                               out);
      break;
    case Scaling::kDoubleHeight:
      upsampling_->double_height(sample_row(component, near), sample_row(component, far),
                                 (y & 1) != 0 ? 2 : 1, c.width, out);
      break;
    case Scaling::kRepeat:
      repeat_samples(sample_row(component, y * c.v / frame_->v_max), c.h, frame_->h_max,
                     frame_->width, out);
      break;
  }
  return out;
}

// Upsampling, ink to light where there is black, then the layout: each step for a whole row, which
// stays in the first cache.
void RowMaker::make(uint32_t y, uint8_t* out) {
  std::array<const uint8_t*, kMaxComponents> rows = {};
  for (size_t i = 0; i < needed_; ++i) rows[i] = picture_row(i, y);
  if (has_black(space_)) {
    ink_to_light(rows);
    for (size_t i = 0; i < 3; ++i) rows[i] = light_[i].data();
  }
  if (layout_ == PixelLayout::kGray8) {
    make_gray(rows, out);
  } else {
    make_color(rows, out);
  }
}

// Four-colour pictures: what the inks leave of red, green and blue, R = (255 - C) (255 - K) / 255.
// No profile is applied.
void RowMaker::ink_to_light(const std::array<const uint8_t*, kMaxComponents>& rows) {
  const size_t width = frame_->width;
  const bool is_ycc = space_ == ColorSpace::kYcck || space_ == ColorSpace::kInvertedYcck;
  if (is_ycc) {
    // Y, Cb and Cr are those of the inks' complements.
    to_planes(rows[0], rows[1], rows[2], width, light_[0].data(), light_[1].data(),
              light_[2].data());
  }
  for (size_t i = 0; i < kMaxComponents; ++i) {
    uint8_t* light = light_[i].data();
    const uint8_t* from = is_ycc && i < 3 ? light : rows[i];
    if (is_inverted(space_) == (is_ycc && i < 3)) {
      invert(from, width, light);
    } else if (from != light) {
      std::memcpy(light, from, width);
    }
  }
  for (size_t i = 0; i < 3; ++i) apply_black(light_[3].data(), width, light_[i].data());
}

// Blue and red change places for kBgr24; a single component is all three.
void RowMaker::make_color(const std::array<const uint8_t*, kMaxComponents>& rows, uint8_t* out) {
  const size_t width = frame_->width;
  const bool is_rgb = layout_ == PixelLayout::kRgb24;
  if (space_ == ColorSpace::kGray) {
    color_->interleave(rows[0], rows[0], rows[0], width, out);
  } else if (space_ == ColorSpace::kYcc) {
    (is_rgb ? color_->to_rgb : color_->to_bgr)(rows[0], rows[1], rows[2], width, out);
  } else {
    color_->interleave(rows[is_rgb ? 0 : 2], rows[1], rows[is_rgb ? 2 : 0], width, out);
  }
}

// Luminance as JFIF 1.02 defines it: 0.299 R + 0.587 G + 0.114 B, in 65536ths.
void RowMaker::make_gray(const std::array<const uint8_t*, kMaxComponents>& rows, uint8_t* out) {
  if (needed_ == 1) {
    std::memcpy(out, rows[0], frame_->width);
    return;
  }
  for (size_t x = 0; x < frame_->width; ++x) {
    const uint32_t sum = 19595u * rows[0][x] + 38470u * rows[1][x] + 7471u * rows[2][x];
    out[x] = static_cast<uint8_t>((sum + 32768) >> 16);
  }
}

}  // namespace tavo::jpeg
