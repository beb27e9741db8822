#include "compress/strip_rows.h"

#include <cstring>

#include "core/bitmap.h"

namespace tavo::compress {

Status StripRows::start(const BitmapHandle& picture, Target target) {
  width_ = picture.Width;
  bits_ = picture.BitsPerPixel;
  const bool is_gray = target == Target::kGray;
  out_bytes_ = static_cast<size_t>(width_) * (is_gray ? 1 : 3);
  row_bytes_ = static_cast<size_t>(core::packed_bytes(static_cast<uint64_t>(width_), bits_));
  if (is_gray && bits_ == 8 && core::has_flag(picture, T_FLAG_GRAY)) {
    method_ = Method::kLevels;
    for (size_t i = 0; i < levels_.size(); ++i) levels_[i] = picture.Info.Palette[i].Red;
    return kOk;
  }
  const bool keeps_order = target == Target::kColorAsStored || picture.Order == T_ORDER_BGR;
  if (!is_gray && bits_ == 24 && keeps_order) {
    method_ = Method::kCopy;
    return kOk;
  }
  method_ = Method::kConvert;
  TRY(converter_.start(bits_, is_gray ? 0 : 24, static_cast<int32_t>(picture.Order), T_ORDER_BGR,
                       picture.Info.Palette, nullptr));
  return work_.allocate(uint64_t{4} * static_cast<uint64_t>(width_) + 4);
}

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
  std::memcpy(work_.data(), row, row_bytes_);
  TRY(converter_.convert(work_.data(), width_));
  std::memcpy(out, work_.data(), out_bytes_);
  return kOk;
}

}  // namespace tavo::compress
