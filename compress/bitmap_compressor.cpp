#include "compress/bitmap_compressor.h"

#include "core/bitmap.h"
#include "process/row_feed.h"

namespace tavo::compress {

namespace {

// kept: 12 bytes a pixel of the row, as CompressCallBack has them; pieces of a file have this size.
uint32_t buffer_bytes(int32_t width) { return static_cast<uint32_t>(width) * 12; }

// Output types by format identifier; 0, CMP, for T_FORMAT_CMP_SAVE.
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

// kept: strips are full but for the last, as with half height rows are counted from a strip's
// first.
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

// The last rows, which are fewer than a strip has.
Status StripFeeder::finish(Compressor& compressor) {
  if (gathered_ == 0) return kOk;
  const uint32_t rows = gathered_;
  gathered_ = 0;
  return compressor.add_rows(strip_, strip_row_bytes_, rows);
}

// kept: the stream says 8 or 24 bits, whatever the bitmap has.
Status Writer::prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                       io::RowLayout& layout) {
  if (request.format != 0) {
    choice_.output_type = output_type(request.format);
    choice_.quality = request.quality;
    choice_.is_gray = request.depth == 1 || request.depth == 8;
  }
  setup_ = make_setup(picture, choice_.output_type, choice_.quality);
  setup_.bits_per_pixel = choice_.is_gray ? 8 : 24;
  setup_.is_gray = choice_.is_gray;
  setup_.is_top_first = layout.is_top_first;
  setup_.stamp = choice_.stamp;
  TRY(check_setup(setup_, kStripRows));
  // As they are: strips take rows of any kind.
  layout.bits = picture.BitsPerPixel;
  layout.order = picture.Order;
  row_bytes_ = core::bytes_per_line(picture.Width, picture.BitsPerPixel);
  TRY(strip_.allocate(kStripRows * strip_row_bytes(setup_)));
  return feeder_.start(picture,
                       choice_.is_gray ? StripRows::Target::kGray : StripRows::Target::kColor,
                       strip_.data());
}

// The resolution and the stamp are in the setup; nothing comes from the picture any more.
Status Writer::begin(const io::SaveRequest& request, const BitmapHandle&) {
  TRY(file_.create_write_only(request.name));
  return compressor_.start(setup_, kStripRows, buffer_bytes(setup_.width), write_to_file, &file_);
}

Status Writer::put(std::span<const uint8_t> rows) {
  const auto count = static_cast<uint32_t>(rows.size() / row_bytes_);
  return feeder_.add(compressor_, rows.data(), row_bytes_, count);
}

Status Writer::finish() {
  TRY(feeder_.finish(compressor_));
  TRY(compressor_.end());
  return file_.finish();
}

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

// Grey: pictures of 8 bits with the grey mark, and bilevel ones, which have no colours to lose.
// Grey pictures of 2 or 4 bits have no place in the compressed formats.
Status compress_bitmap(BitmapHandle& bitmap, const char* name, int32_t output_type, int32_t quality,
                       const Stamp* stamp) {
  const bool is_marked = core::has_flag(bitmap, T_FLAG_GRAY);
  if (is_marked && bitmap.BitsPerPixel > 1 && bitmap.BitsPerPixel < 8) return kNoFormat;
  const bool is_gray = bitmap.BitsPerPixel == 1 || (is_marked && bitmap.BitsPerPixel == 8);
  Writer writer({output_type, quality, is_gray, stamp});
  const core::AccessScope accessed(bitmap);
  return process::write_bitmap(writer, {.name = name}, bitmap);
}

}  // namespace tavo::compress
