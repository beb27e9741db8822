#include "pipeline/compress_files.h"

#include <optional>

#include "base/depths.h"
#include "compress/bitmap_compressor.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"
#include "pipeline/save.h"
#include "process/row_feed.h"

namespace tavo::pipeline {

namespace {

// Compresses rows as a reader delivers them, in the file's order. The file is created when the
// first rows are there.
class RowCompression {
 public:
  RowCompression(const char* destination, int32_t output_type, int32_t quality)
      : request_{.name = destination}, output_type_(output_type), quality_(quality) {}

  Status finish() { return feed_ ? feed_->finish() : kIncomplete; }

  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    return static_cast<RowCompression*>(context)->add(*source, rows, count).code();
  }

 private:
  Status start(const BitmapHandle& source) {
    const bool is_gray = compress::make_setup(source, output_type_, quality_).is_gray;
    writer_.emplace(compress::Choice{output_type_, quality_, is_gray || source.BitsPerPixel == 1});
    feed_.emplace(*writer_, request_);
    TRY(feed_->prepare(source, source.ViewPerspective == 0));
    return feed_->begin(source);
  }

  Status add(const BitmapHandle& source, const void* rows, int32_t count) {
    if (!feed_) TRY(start(source));
    return feed_->put(static_cast<const uint8_t*>(rows), source.BytesPerLine,
                      static_cast<uint32_t>(count));
  }

  io::SaveRequest request_;
  int32_t output_type_;
  int32_t quality_;
  std::optional<compress::Writer> writer_;
  std::optional<process::RowFeed> feed_;
};

constexpr int32_t kLoadingShare = 50;  // percent of compressing a picture that is loaded first

Status load_whole(const char* source, BitmapHandle& picture) {
  const core::ProgressPart part(0, kLoadingShare);
  const LoadRequest request{.bits = 0, .order = -1, .flags = T_LOAD_ALLOCATE | T_LOAD_ACCESS};
  return load(source, picture, request);
}

}  // namespace

Status compress_file(const char* source, const char* destination, int32_t format,
                     int32_t output_type, int32_t quality) {
  FILEINFO info;
  TRY(identify(source, info));
  const FormatRow* row = find_format(format);
  if (row == nullptr || row->read == nullptr) return kNoFormat;
  const bool is_bmp = info.Format == T_FORMAT_BMP || info.Format == T_FORMAT_BMP_OS2;
  const bool is_indexed_bmp = format == T_FORMAT_BMP && is_bmp && info.BitsPerPixel == 8;
  const bool is_interlaced = info.Format == format && (info.Flags & T_FLAG_INTERLACED) != 0;
  if (is_indexed_bmp || is_interlaced) {
    core::OwnedBitmap picture;
    TRY(load_whole(source, *picture));
    const core::ProgressPart part(kLoadingShare, 100);
    return compress::compress_bitmap(*picture, destination, output_type, quality, nullptr);
  }
  RowCompression rows(destination, output_type, quality);
  BitmapHandle record = {};
  const int32_t bits = request_depth(info.BitsPerPixel);
  const Status status = row->read(source, &record, RowCompression::sink, bits, &rows);
  core::free_bitmap(record);
  TRY(status);
  return rows.finish();
}

Status compress_any_file(const char* source, const char* destination, int32_t output_type,
                         int32_t quality) {
  core::OwnedBitmap picture;
  TRY(load_whole(source, *picture));
  const core::ProgressPart part(kLoadingShare, 100);
  if (picture->BitsPerPixel == 1 && output_type == 0) {
    return compress_bilevel(*picture, destination, 1);
  }
  return compress::compress_bitmap(*picture, destination, output_type, quality, nullptr);
}

Status compress_bilevel(BitmapHandle& bitmap, const char* name, int32_t format) {
  // Other formats: the built-in black and white.
  const SaveOptions options{
      .format = format == 1 ? T_FORMAT_CMP_1BIT : format, .bits = 1, .flags = T_SAVE_FIXED_PALETTE};
  return save_with_resolution(name, bitmap, options);
}

}  // namespace tavo::pipeline
