#include "compress/call_by_call.h"

#include <algorithm>

#include "core/bitmap.h"

namespace tavo::compress {

namespace {

// Whole rows in `bytes`; what is too much of the caller's strip is not read.
uint32_t rows_in(uint32_t bytes, const CompressionSetup& setup) {
  const uint64_t row_bytes = strip_row_bytes(setup);
  return row_bytes == 0 ? 0 : static_cast<uint32_t>(bytes / row_bytes);
}

// kept: callers hand over 24-bit rows that are blue, green, red already, whatever their record
// says.
StripRows::Target target(const CompressionSetup& setup) {
  return setup.is_gray ? StripRows::Target::kGray : StripRows::Target::kColorAsStored;
}

}  // namespace

// Whatever else a routine returns, fewer bytes or more, is a failure.
Status CallerWrite::forward(void* context, std::span<const uint8_t> bytes) {
  const auto& caller = *static_cast<const CallerWrite*>(context);
  const auto size = static_cast<uint32_t>(bytes.size());
  return caller.write(bytes.data(), size, caller.user_data) == size ? kOk : kWriteError;
}

// The strip's size in bytes says how many rows a strip has.
Status BufferCompression::start(const BitmapHandle& bitmap, CallerWrite write, uint32_t strip_bytes,
                                uint32_t buffer_bytes, int32_t output_type, int32_t quality) {
  const CompressionSetup setup = make_setup(bitmap, output_type, quality);
  write_ = write;
  consuming_for_ = nullptr;
  return compressor_.start(setup, rows_in(strip_bytes, setup), buffer_bytes, CallerWrite::forward,
                           &write_);
}

// The caller's strip is the buffer that CompressCallBack gathers rows in: it is coded as it stands,
// and gathering begins anew.
Status BufferCompression::add_strip(const void* strip) {
  if (consuming_for_ != nullptr) feeder_.forget();
  return compressor_.add_strip(static_cast<const uint8_t*>(strip));
}

// kept: rows that CompressCallBack has gathered are not coded here: the caller hands over the strip
// they are in.
Status BufferCompression::end() {
  consuming_for_ = nullptr;
  feeder_ = StripFeeder();
  return compressor_.end();
}

// kept: the callback starts a compression by itself, with strips of 16 rows in the context's
// buffer.
Status BufferCompression::start_consuming(const BitmapHandle& bitmap,
                                          const T_CompressContext& context, T_CompressWrite write) {
  CompressionSetup setup = make_setup(bitmap, context.OutputType, context.Quality);
  setup.bits_per_pixel = setup.is_gray ? 8 : 24;
  write_ = {write, context.UserData};
  const auto buffer_bytes = static_cast<uint32_t>(std::max(bitmap.Width, 0)) * 12;
  TRY(compressor_.start(setup, kStripRows, buffer_bytes, CallerWrite::forward, &write_));
  const Status status =
      feeder_.start(bitmap, target(setup), static_cast<uint8_t*>(context.StripBuffer));
  if (!status.ok()) compressor_.close();
  return status;
}

// Another context, or none under way: a new compression. The context's address is all that tells
// them apart; it is the caller's own, and stays the same from call to call.
Status BufferCompression::consume(const BitmapHandle& bitmap, const void* rows, int32_t count,
                                  const T_CompressContext& context, T_CompressWrite write) {
  if (!compressor_.is_open() || consuming_for_ != &context) {
    consuming_for_ = nullptr;
    TRY(start_consuming(bitmap, context, write));
    consuming_for_ = &context;
  }
  return feeder_.add(compressor_, static_cast<const uint8_t*>(rows), bitmap.BytesPerLine,
                     static_cast<uint32_t>(count));
}

// Rows of 8 bits are grey levels as they are: a palette that is a ramp stands for that. 16, 24 and
// 32 bits are colours.
Status DataCompression::start(int32_t width, int32_t height, int32_t bits_per_pixel,
                              CallerWrite write, int32_t output_type, int32_t quality) {
  compressor_.close();
  if (bits_per_pixel != 8 && bits_per_pixel != 16 && bits_per_pixel != 24 && bits_per_pixel != 32) {
    return kNotCompressible;
  }
  BitmapHandle picture = {};
  TRY(core::init_bitmap(picture, width, height, bits_per_pixel));
  CompressionSetup setup = make_setup(picture, output_type, quality);
  setup.is_gray = bits_per_pixel == 8;
  setup.is_top_first = true;
  TRY(check_setup(setup, kStripRows));
  core::set_flag(picture, T_FLAG_GRAY, setup.is_gray);
  for (size_t i = 0; i < 256; ++i) picture.Info.Palette[i].Red = static_cast<uint8_t>(i);
  row_bytes_ = static_cast<size_t>(width) * static_cast<size_t>(bits_per_pixel / 8);
  write_ = write;
  TRY(strip_.allocate(kStripRows * strip_row_bytes(setup)));
  TRY(feeder_.start(picture, target(setup), strip_.data()));
  return compressor_.start(setup, kStripRows, 0, CallerWrite::forward, &write_);
}

// kept: without a start it is memory that is said to be missing.
Status DataCompression::add(const void* rows, int32_t count) {
  if (rows == nullptr || !compressor_.is_open()) return kNoMemory;
  if (count < 0) return kBadArgument;
  return feeder_.add(compressor_, static_cast<const uint8_t*>(rows), row_bytes_,
                     static_cast<uint32_t>(count));
}

// The first failure is told, but the stream is ended in any case.
Status DataCompression::end() {
  Status status = compressor_.is_open() ? feeder_.finish(compressor_) : kOk;
  const Status end_status = compressor_.end();
  if (status.ok()) status = end_status;
  strip_.release();
  feeder_ = StripFeeder();
  return status;
}

}  // namespace tavo::compress
