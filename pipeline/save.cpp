#include "pipeline/save.h"

#include "core/bitmap.h"
#include "core/notice.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/row_feed.h"
#include "reduce/reduce.h"

namespace tavo::pipeline {

namespace {

constexpr int32_t kPreparationShare = 40;  // percent of a save that needs one

// `picture` is the save's own.
Status prepare(BitmapHandle& picture, Preparation preparation, int32_t depth, uint32_t flags) {
  const core::ProgressPart part(0, kPreparationShare);
  if (preparation == Preparation::kGray) return color::gray_scale_bitmap(picture);
  if (depth > 8) {
    return color::color_resolution(picture, depth, color::PaletteType::kNone, nullptr, 0);
  }
  picture.DitherMethod = T_DITHER_FLOYD_STEINBERG;
  const auto type = (flags & T_SAVE_FIXED_PALETTE) != 0 ? color::PaletteType::kFixed
                                                        : color::PaletteType::kOptimized;
  return color::color_resolution(picture, depth, type, nullptr, 0, /*consumes=*/true);
}

Status write(const SavePlan& plan, BitmapHandle& bitmap) {
  return plan.with_writer(
      [&](io::RowWriter& writer) { return process::write_bitmap(writer, plan.request, bitmap); });
}

// Kept: what is written carries the library's default resolution, as every copy does, unless the
// caller asks for the picture's own.
bool keeps_resolution(uint32_t flags) { return (flags & T_SAVE_KEEP_RESOLUTION) != 0; }

void set_resolution(BitmapHandle& bitmap, const BitmapHandle& from) {
  bitmap.XResolution = from.XResolution;
  bitmap.YResolution = from.YResolution;
}

// A picture that needs no change is written from where it lies: the record is copied, its pixels
// are not.
Status write_view(const SavePlan& plan, BitmapHandle& bitmap, uint32_t flags) {
  BitmapHandle fresh = {};
  TRY(core::init_bitmap(fresh, bitmap.Width, bitmap.Height, bitmap.BitsPerPixel));
  core::access_bitmap(bitmap);
  BitmapHandle view;
  core::copy_bitmap_handle(view, bitmap);
  if (!keeps_resolution(flags)) set_resolution(view, fresh);
  const Status status = write(plan, view);
  core::release_bitmap(bitmap);
  return status;
}

Status prepare_and_write(const SavePlan& plan, BitmapHandle& picture, uint32_t flags) {
  TRY(prepare(picture, plan.preparation, plan.request.depth, flags));
  const core::AccessScope accessed(picture);
  const core::ProgressPart part(kPreparationShare, 100);
  return write(plan, picture);
}

Status save(const char* name, BitmapHandle& bitmap, const SaveOptions& options, bool consumes) {
  TRY(core::check_notice());
  if (bitmap.Size == 0) return kBadSize;
  SavePlan plan(name, options, bitmap.BitsPerPixel, core::has_flag(bitmap, T_FLAG_REDUCED));
  TRY(plan.find_target());
  if (options.direct) return write(plan, bitmap);
  if (plan.preparation == Preparation::kNone) return write_view(plan, bitmap, options.flags);
  if (consumes) return prepare_and_write(plan, bitmap, options.flags);
  core::OwnedBitmap copy;
  TRY(core::copy_bitmap(*copy, bitmap));
  if (keeps_resolution(options.flags)) set_resolution(*copy, bitmap);
  return prepare_and_write(plan, *copy, options.flags);
}

}  // namespace

Status save(const char* name, BitmapHandle& bitmap, const SaveOptions& options) {
  return save(name, bitmap, options, /*consumes=*/false);
}

Status save_with_resolution(const char* name, BitmapHandle& bitmap, SaveOptions options,
                            bool consumes) {
  options.flags |= T_SAVE_KEEP_RESOLUTION;
  return save(name, bitmap, options, consumes);
}

}  // namespace tavo::pipeline
