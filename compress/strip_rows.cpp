#include "compress/strip_rows.h"

#include <cstring>

#include "core/bitmap.h"

namespace tavo::compress {

// kept: with the grey mark the red parts of the palette are the levels, whatever the others are.
// Grey of other depths goes by the brightness of its colours.
Status StripRows::start(const BitmapHandle& picture, Target target) {
  width_ = picture.Width;
  const int32_t bits = picture.BitsPerPixel;
  const bool is_gray = target == Target::kGray;
  out_bytes_ = static_cast<size_t>(width_) * (is_gray ? 1 : 3);
  if (is_gray && bits == 8 && core::has_flag(picture, T_FLAG_GRAY)) {
    method_ = Method::kLevels;
    for (size_t i = 0; i < levels_.size(); ++i) levels_[i] = picture.Info.Palette[i].Red;
    return kOk;
  }
  const bool keeps_order = target == Target::kColorAsStored || picture.Order == T_ORDER_BGR;
  if (!is_gray && bits == 24 && keeps_order) {
    method_ = Method::kCopy;
    return kOk;
  }
  method_ = Method::kConvert;
  return converter_.start(bits, is_gray ? 0 : 24, static_cast<int32_t>(picture.Order), T_ORDER_BGR,
                          picture.Info.Palette, nullptr);
}

// Conversion works in place and may need more room than the row has: up to 4 bytes a pixel.
Status StripRows::convert(const uint8_t* row, uint8_t* out) {
  switch (method_) {
    case Method::kCopy:
      std::memcpy(out, row, out_bytes_);
      return kOk;
    case Method::kLevels:
      for (size_t x = 0; x < out_bytes_; ++x) out[x] = levels_[row[x]];
      return kOk;
    case Method::kConvert:
      break;
  }
  return converter_.convert(row, out, width_);
}

}  // namespace tavo::compress
