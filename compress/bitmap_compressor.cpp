#include "compress/bitmap_compressor.h"

#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"

namespace tavo::compress {

namespace {

// 12 bytes a pixel of the row, as the buffer interface's own callers use.
uint32_t buffer_bytes(int32_t width) { return static_cast<uint32_t>(width) * 12; }

Status feed(BitmapHandle& bitmap, StripFeeder& feeder, Compressor& compressor) {
  Buffer row;
  TRY(row.allocate(bitmap.BytesPerLine));
  core::Progress progress;
  TRY(progress.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0; y < height; ++y) {
    TRY(core::get_row(bitmap, core::stored_row(bitmap, y), row.bytes()));
    TRY(feeder.add(compressor, row.data(), 0, 1));
    TRY(progress.at(y + 1, height));
  }
  TRY(feeder.finish(compressor));
  return progress.finish();
}

Status compress_as(BitmapHandle& bitmap, const char* name, int32_t output_type, int32_t quality,
                   bool is_gray, const Stamp* stamp) {
  CompressionSetup setup = make_setup(bitmap, output_type, quality);
  setup.bits_per_pixel = is_gray ? 8 : 24;
  setup.is_gray = is_gray;
  setup.is_top_first = true;
  setup.stamp = stamp;
  TRY(check_setup(setup, kStripRows));  // before there is a file
  if (!core::has_storage(bitmap)) return kNoStorage;

  Buffer strip;
  StripFeeder feeder;
  Compressor compressor;
  io::OutputFile file;
  TRY(strip.allocate(kStripRows * strip_row_bytes(setup)));
  TRY(feeder.start(bitmap, is_gray ? StripRows::Target::kGray : StripRows::Target::kColor,
                   strip.data()));
  TRY(file.create_write_only(name));
  TRY(compressor.start(setup, kStripRows, buffer_bytes(setup.width), write_to_file, &file));
  const core::AccessScope accessed(bitmap);
  TRY(feed(bitmap, feeder, compressor));
  TRY(compressor.end());
  return file.finish();
}

// Output types by format identifier.
int32_t output_type(int32_t format) {
  switch (format) {
    case T_FORMAT_JPEG:
      return 1;
    case T_FORMAT_JPEG_24:
      return 2;
    case T_FORMAT_JPEG_2X1:
      return 5;
    case T_FORMAT_JPEG_2X1_24:
      return 6;
    case T_FORMAT_JPEG_2X2:
      return 3;
    case T_FORMAT_JPEG_2X2_24:
      return 4;
    default:
      return 0;
  }
}

}  // namespace

Status write_to_file(void* context, std::span<const uint8_t> bytes) {
  return static_cast<io::OutputFile*>(context)->write(bytes);
}

Status StripFeeder::start(const BitmapHandle& picture, StripRows::Target target, uint8_t* strip) {
  strip_ = strip;
  gathered_ = 0;
  strip_row_bytes_ =
      static_cast<size_t>(picture.Width) * (target == StripRows::Target::kGray ? 1 : 3);
  return rows_.start(picture, target);
}

Status StripFeeder::add(Compressor& compressor, const uint8_t* rows, size_t stride,
                        uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    TRY(rows_.convert(rows + i * stride, strip_ + gathered_ * strip_row_bytes_));
    if (++gathered_ < kStripRows) continue;
    gathered_ = 0;
    TRY(compressor.add_strip(strip_));
  }
  return kOk;
}

Status StripFeeder::finish(Compressor& compressor) {
  if (gathered_ == 0) return kOk;
  const uint32_t rows = gathered_;
  gathered_ = 0;
  return compressor.add_rows(strip_, strip_row_bytes_, rows);
}

Status compress_bitmap(BitmapHandle& bitmap, const char* name, int32_t output_type, int32_t quality,
                       const Stamp* stamp) {
  const bool is_marked = core::has_flag(bitmap, T_FLAG_GRAY);
  if (is_marked && bitmap.BitsPerPixel > 1 && bitmap.BitsPerPixel < 8) return kNoFormat;
  const bool is_gray = bitmap.BitsPerPixel == 1 || (is_marked && bitmap.BitsPerPixel == 8);
  return compress_as(bitmap, name, output_type, quality, is_gray, stamp);
}

Status write(const char* name, BitmapHandle* bitmap, const io::SaveRequest& request) {
  const bool is_gray = request.depth == 1 || request.depth == 8;
  return compress_as(*bitmap, name, output_type(request.format), request.quality, is_gray, nullptr);
}

}  // namespace tavo::compress
