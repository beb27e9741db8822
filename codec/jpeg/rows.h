// The decoder's last stages: component samples of a few MCU rows in, pixel rows out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "codec/jpeg/color.h"
#include "codec/jpeg/draft.h"
#include "codec/jpeg/markers.h"
#include "codec/jpeg/upsample.h"

namespace tavo::jpeg {

// What the components of a frame mean. ISO/IEC 10918-1 does not say; JFIF and Adobe's segment do.
enum class ColorSpace {
  kGray,
  kYcc,
  kRgb,
  kCmyk,          // 255 = full ink
  kInvertedCmyk,  // 255 = no ink, as Adobe's programs store it
  kYcck,
  kInvertedYcck,
};

enum class PixelLayout { kGray8, kRgb24, kBgr24 };

// Keeps the samples of two MCU rows, so that smooth upsampling has the rows above and below.
class RowMaker {
 public:
  // `samples` are kept by address.
  Status start(const SampleFrame& samples, ColorSpace space, PixelLayout layout, bool is_smooth);

  // How many components, the first ones, the layout asks for.
  size_t needed_components() const { return needed_; }

  // Where samples of MCU row `row` go: from the component's first column on, rows stride() apart,
  // as many as its blocks have. Each has space for an even number of MCUs.
  uint8_t* mcu_row(size_t component, uint32_t row);
  size_t stride(size_t component) const { return planes_[component].stride; }
  // What a lost block is filled with, so that it comes out mid grey.
  uint8_t lost_sample(size_t component) const;

  // Rows of the picture that can be made once `mcu_rows` MCU rows are there.
  uint32_t ready_rows(uint32_t mcu_rows) const;
  // Makes row y of the picture.
  void make(uint32_t y, uint8_t* out);

 private:
  // How a component comes to the picture's resolution.
  enum class Scaling { kNone, kDoubleWidth, kDoubleBoth, kDoubleHeight, kRepeat };
  struct Plane {
    Buffer samples;
    Buffer scaled;  // one row at the picture's resolution
    size_t stride = 0;
    uint32_t mcu_rows = 0;  // sample rows of an MCU row
    Scaling scaling = Scaling::kNone;
  };

  Scaling choose_scaling(const Component& component) const;
  const uint8_t* sample_row(size_t component, uint32_t y) const;
  const uint8_t* picture_row(size_t component, uint32_t y);
  void make_color(const std::array<const uint8_t*, kMaxComponents>& rows, uint8_t* out);
  void ink_to_light(const std::array<const uint8_t*, kMaxComponents>& rows);
  void make_gray(const std::array<const uint8_t*, kMaxComponents>& rows, uint8_t* out);

  const Frame* frame_ = nullptr;
  uint32_t unit_ = 8;  // samples of a block's side, by the factors of `frame_`
  ColorSpace space_ = ColorSpace::kYcc;
  PixelLayout layout_ = PixelLayout::kRgb24;
  size_t needed_ = 0;
  bool needs_context_ = false;
  std::array<Plane, kMaxComponents> planes_;
  std::array<Buffer, kMaxComponents> light_;  // red, green, blue and black of four-colour pictures
  const Upsampling* upsampling_ = nullptr;
  const ColorConversion* color_ = nullptr;
};

}  // namespace tavo::jpeg
