#include "pipeline/save.h"

#include <algorithm>
#include <array>

#include "base/depths.h"
#include "base/settings.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "core/progress.h"
#include "core/rows.h"
#include "io/file_table.h"
#include "io/input_file.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"
#include "process/row_feed.h"
#include "reduce/reduce.h"

namespace tavo::pipeline {

namespace {

enum class Preparation { kNone, kGray, kResolution };

Preparation choose_preparation(const FormatRow* format, const BitmapHandle& bitmap, int32_t depth,
                               uint32_t flags) {
  if (format != nullptr && format->gray_at_8_bits && depth == 8) return Preparation::kGray;
  const bool always = (flags & T_SAVE_REDUCE) != 0 && !core::has_flag(bitmap, T_FLAG_REDUCED);
  return bitmap.BitsPerPixel == depth && !always ? Preparation::kNone : Preparation::kResolution;
}

constexpr int32_t kPreparationShare = 40;  // percent of a save that needs one

Status prepare(BitmapHandle& copy, Preparation preparation, int32_t depth, uint32_t flags) {
  const core::ProgressPart part(0, kPreparationShare);
  if (preparation == Preparation::kGray) return color::gray_scale_bitmap(copy);
  if (depth > 8) {
    return color::color_resolution(copy, depth, color::PaletteType::kNone, nullptr, 0);
  }
  copy.DitherMethod = T_DITHER_FLOYD_STEINBERG;
  const auto type = (flags & T_SAVE_FIXED_PALETTE) != 0 ? color::PaletteType::kFixed
                                                        : color::PaletteType::kOptimized;
  return color::color_resolution(copy, depth, type, nullptr, 0);
}

bool writes_depth(const FormatRow& format, int32_t depth) {
  if (format.takes_any_depth) return true;
  return is_bitmap_depth(depth) && (format.write_depths & depth_bit(depth)) != 0;
}

Status write(const FormatRow* format, const io::SaveRequest& request, BitmapHandle& bitmap) {
  if (format == nullptr || format->write == nullptr) return kNoFormat;
  if (!writes_depth(*format, request.depth)) return kBadDepth;
  return format->write(
      [&](io::RowWriter& writer) { return process::write_bitmap(writer, request, bitmap); });
}

// A picture that needs no change is written from where it lies: the record is copied, its pixels
// are not. Like every copy it carries the library's default resolution.
Status write_view(const FormatRow* format, const io::SaveRequest& request, BitmapHandle& bitmap) {
  BitmapHandle fresh = {};
  TRY(core::init_bitmap(fresh, bitmap.Width, bitmap.Height, bitmap.BitsPerPixel));
  core::access_bitmap(bitmap);
  BitmapHandle view;
  core::copy_bitmap_handle(view, bitmap);
  view.XResolution = fresh.XResolution;
  view.YResolution = fresh.YResolution;
  const Status status = write(format, request, view);
  core::release_bitmap(bitmap);
  return status;
}

bool appends(const FormatRow* format, uint32_t flags) {
  if (format == nullptr || format->holds_pages == nullptr) return false;
  return (flags & T_SAVE_APPEND) != 0 || settings.page_number >= 2;
}

// What a save that appends does with the file `name`. It is written anew only when there is none,
// when it is empty, or when it was read without a failure and is of another format; whatever else
// keeps it from being identified is the result, as a new file in its place would cost its pages.
Status find_target(const FormatRow& format, const char* name, io::Target& target) {
  io::InputFile file;
  const Status opened = file.open(name);
  target = io::Target::kNew;
  if (opened == kOpenError && io::is_absent(name)) return kOk;
  TRY(opened);
  std::array<uint8_t, 4> head;
  size_t got = 0;
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  if (file_bytes == 0) return kOk;
  TRY(file.read_up_to(head, got));
  if (got < std::min<size_t>(file_bytes, head.size())) return kReadError;
  file.close();
  target = io::Target::kExtend;
  if (format.holds_pages({head.data(), got})) return kOk;
  FILEINFO info;
  TRY(identify(name, info));
  if (info.Format != format.id) target = io::Target::kReplace;
  return kOk;
}

int32_t dots_per_inch(int32_t resolution, bool per_meter) {
  return per_meter ? static_cast<int32_t>((int64_t{resolution} * 254 + 5000) / 10000) : resolution;
}

}  // namespace

Status save(const char* name, BitmapHandle& bitmap, const SaveOptions& options) {
  TRY(core::check_notice());
  if (bitmap.Size == 0) return kBadSize;
  const FormatRow* format = find_format(options.format);
  io::SaveRequest request{.name = name,
                          .format = options.format,
                          .depth = options.bits == 0 ? bitmap.BitsPerPixel : options.bits,
                          .quality = options.quality};
  if (format != nullptr && format->always_24_bits) request.depth = 24;
  if (appends(format, options.flags)) TRY(find_target(*format, name, request.target));
  if (options.direct) return write(format, request, bitmap);

  const Preparation preparation = choose_preparation(format, bitmap, request.depth, options.flags);
  if (preparation == Preparation::kNone) return write_view(format, request, bitmap);
  core::OwnedBitmap copy;
  TRY(core::copy_bitmap(*copy, bitmap));
  TRY(prepare(*copy, preparation, request.depth, options.flags));
  const core::AccessScope accessed(*copy);
  const core::ProgressPart part(kPreparationShare, 100);
  return write(format, request, *copy);
}

Status save_with_resolution(const char* name, BitmapHandle& bitmap, const SaveOptions& options) {
  // The save's copy takes the default resolution: make that the bitmap's for its length.
  const T_TIFFOption outer = settings.tiff;
  settings.tiff.XResolution = bitmap.XResolution;
  settings.tiff.YResolution = bitmap.YResolution;
  const Status status = save(name, bitmap, options);
  settings.tiff = outer;
  return status;
}

Status convert_file(const char* source, const char* destination, int32_t format, int32_t bits,
                    int32_t quality) {
  core::OwnedBitmap picture;
  const LoadRequest request{.bits = 0, .order = -1, .flags = T_LOAD_ALLOCATE | T_LOAD_ACCESS};
  {
    const core::ProgressPart part(0, 50);
    TRY(load(source, *picture, request));
  }
  const core::ProgressPart part(50, 100);
  FILEINFO info;
  TRY(identify(source, info));
  const FormatRow* from = find_format(info.Format);
  const bool per_meter = from != nullptr && from->reports_per_meter;
  picture->XResolution = dots_per_inch(picture->XResolution, per_meter);
  picture->YResolution = dots_per_inch(picture->YResolution, per_meter);
  const SaveOptions options{.format = format, .bits = bits, .quality = quality};
  return save_with_resolution(destination, *picture, options);
}

}  // namespace tavo::pipeline
