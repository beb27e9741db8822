#include "process/row_stages.h"

#include <algorithm>
#include <cstring>

#include "base/settings.h"
#include "color/palettes.h"
#include "core/rows.h"
#include "dither/dither.h"

namespace tavo::process {

namespace {

constexpr uint32_t kDescriptionFlags = T_FLAG_GRAY | T_FLAG_PALETTE | T_FLAG_INTERLACED;

void set_fixed_palette(BitmapHandle& target) {
  const bool gray = settings.gray_fixed_palette || core::has_flag(target, T_FLAG_GRAY);
  color::fixed_palette(target.BitsPerPixel, gray, target.Info.Palette);
  target.Colors = 1u << target.BitsPerPixel;
  core::set_flag(target, T_FLAG_GRAY, gray);
}

}  // namespace

Stage choose_stage(int32_t bits, int32_t wanted_bits, bool same_order, bool to_fixed) {
  if (wanted_bits > 8) {
    if (bits != wanted_bits) return Stage::kConvert;
    return same_order ? Stage::kPass : Stage::kSwap;
  }
  if (to_fixed) return bits < wanted_bits ? Stage::kMap : Stage::kDither;
  if (bits > wanted_bits) return Stage::kDither;
  return bits < wanted_bits ? Stage::kConvert : Stage::kPass;
}

void describe_target(const SourcePicture& picture, Stage stage, BitmapHandle& target) {
  target.ViewPerspective = picture.view_perspective;
  target.Flags = (target.Flags & ~kDescriptionFlags) | (picture.flags & kDescriptionFlags);
  if (picture.has_resolution) {
    target.XResolution = picture.x_resolution;
    target.YResolution = picture.y_resolution;
  }
  if (picture.has_origin) {
    target.XOrigin = picture.x_origin;
    target.YOrigin = picture.y_origin;
  }
  if (target.BitsPerPixel > 8) return;
  if (stage == Stage::kDither || stage == Stage::kMap) return set_fixed_palette(target);
  std::memcpy(target.Info.Palette, picture.palette, sizeof(target.Info.Palette));
  target.Colors = picture.colors;
}

RowStages::~RowStages() { color::stop_pass(*dithered_); }

Status RowStages::start(Stage stage, const SourcePicture& picture, const BitmapHandle& target) {
  stage_ = stage;
  width_ = target.Width;
  bits_ = target.BitsPerPixel;
  line_ = target.BytesPerLine;
  if (stage == Stage::kPass) return kOk;
  if (stage == Stage::kDither) return start_dithering(picture, target);
  return converter_.start(picture.bits, bits_, static_cast<int32_t>(picture.order),
                          static_cast<int32_t>(target.Order), picture.palette, target.Info.Palette);
}

// The pass reads rows by the picture's palette; what it makes is the target's.
Status RowStages::start_dithering(const SourcePicture& picture, const BitmapHandle& target) {
  TRY(core::init_bitmap(*dithered_, width_, target.Height, picture.bits));
  dithered_->Order = picture.order;
  dithered_->DitherMethod = target.DitherMethod;
  dithered_->Colors = picture.colors;
  std::memcpy(dithered_->Info.Palette, picture.palette, sizeof(picture.palette));
  return color::start_pass(*dithered_, target.Info.Palette, 1u << bits_, nullptr, bits_);
}

Status RowStages::make(const uint8_t* rows, size_t stride, uint8_t* out, size_t out_stride,
                       uint32_t count) {
  if (stage_ == Stage::kPass) return kOk;
  if (dithers()) TRY(color::dither_rows(*dithered_, rows, stride, out, out_stride, count));
  for (; count > 0; --count, rows += stride, out += out_stride) {
    if (!dithers()) TRY(converter_.convert(rows, out, width_));
    if (out != rows) core::clear_padding({out, line_}, width_, bits_);
  }
  return kOk;
}

Status RowStages::run(const uint8_t* rows, size_t stride, uint32_t count, RowBatch& batch) {
  while (count > 0) {
    const uint32_t part = std::min(count, batch.room());
    TRY(make(rows, stride, batch.next(), line_, part));
    TRY(batch.add(part));
    rows += part * stride;
    count -= part;
  }
  return kOk;
}

}  // namespace tavo::process
