#include "pipeline/compress_files.h"

#include "base/depths.h"
#include "base/settings.h"
#include "compress/bitmap_compressor.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"
#include "pipeline/save.h"

namespace tavo::pipeline {

namespace {

// Compresses rows as a reader delivers them. The file is created when the first rows are there.
class RowCompression {
 public:
  RowCompression(const char* destination, int32_t output_type, int32_t quality)
      : destination_(destination), output_type_(output_type), quality_(quality) {}

  Status add(const BitmapHandle& source, const void* rows, int32_t count) {
    if (!compressor_.is_open()) TRY(start(source));
    return feeder_.add(compressor_, static_cast<const uint8_t*>(rows), source.BytesPerLine,
                       static_cast<uint32_t>(count));
  }

  Status finish() {
    TRY(feeder_.finish(compressor_));
    TRY(compressor_.end());
    return file_.finish();
  }

  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    return static_cast<RowCompression*>(context)->add(*source, rows, count).code();
  }

 private:
  Status start(const BitmapHandle& source) {
    using compress::StripRows;
    compress::CompressionSetup setup = compress::make_setup(source, output_type_, quality_);
    setup.is_gray = setup.is_gray || source.BitsPerPixel == 1;
    setup.bits_per_pixel = setup.is_gray ? 8 : 24;
    TRY(compress::check_setup(setup, compress::kStripRows));
    TRY(strip_.allocate(compress::kStripRows * compress::strip_row_bytes(setup)));
    TRY(feeder_.start(source, setup.is_gray ? StripRows::Target::kGray : StripRows::Target::kColor,
                      strip_.data()));
    TRY(file_.create_write_only(destination_));
    return compressor_.start(setup, compress::kStripRows, 0, compress::write_to_file, &file_);
  }

  const char* destination_;
  int32_t output_type_;
  int32_t quality_;
  Buffer strip_;
  compress::StripFeeder feeder_;
  compress::Compressor compressor_;
  io::OutputFile file_;
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
  SaveOptions options;
  options.format = format == 1 ? T_FORMAT_CMP_1BIT : format;
  options.bits = 1;
  // Other formats: the built-in black and white; behind the pages that are there already when a
  // later page than the first is set.
  options.flags = T_SAVE_FIXED_PALETTE;
  if (settings.page_number >= 2) options.flags |= T_SAVE_APPEND;
  options.extra = options.flags;
  return save_with_resolution(name, bitmap, options);
}

}  // namespace tavo::pipeline
