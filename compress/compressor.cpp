#include "compress/compressor.h"

#include <algorithm>

#include "core/bitmap.h"

namespace tavo::compress {

namespace {

// kept: so many bytes a row may have, as stored and as handed over, though JPEG's limit is in
// pixels.
constexpr int64_t kMaxRowBytes = 65535;
constexpr int32_t kMaxRows = 65535;         // Y of a frame header (ISO/IEC 10918-1, B.2.2)
constexpr uint32_t kQuarterStripRows = 16;  // an MCU row with chroma halved both ways
constexpr uint32_t kDefaultBuffer = 65536;

// kept: the last row of an odd number is left out with half height.
uint32_t coded_rows(const CompressionSetup& setup, const CodingParameters& coding) {
  const auto height = static_cast<uint32_t>(setup.height);
  return coding.is_half_height ? height / 2 : height;
}

// Strips of fewer than 8 bits do not exist: bitmaps that have them come here converted.
Status check_picture(const CompressionSetup& setup) {
  if (setup.width <= 0 || setup.height <= 0) return kNotCompressible;
  if (setup.bits_per_pixel < 8 || setup.bits_per_pixel > 32) return kNotCompressible;
  const int64_t stored = int64_t{setup.width} * ((setup.bits_per_pixel + 7) / 8);
  const auto handed = static_cast<int64_t>(strip_row_bytes(setup));
  return std::max(stored, handed) > kMaxRowBytes ? kNotCompressible : kOk;
}

// All that can be wrong with a setup; fills what the stream needs. kept: the order of the checks
// decides which status a setup with several faults gets.
Status describe(const CompressionSetup& setup, uint32_t strip_rows, StreamDescription& stream) {
  TRY(check_picture(setup));
  TRY(choose_parameters(setup.output_type, setup.quality, setup.is_gray, stream.coding));
  stream.coded_rows = coded_rows(setup, stream.coding);
  if (stream.coded_rows == 0 || stream.coded_rows > kMaxRows) return kNotCompressible;
  TRY(build_tables(stream.coding.value, stream.luminance, stream.chrominance));
  if (strip_rows == 0) return kBadSize;
  if (stream.coding.vertical == 2 && strip_rows % kQuarterStripRows != 0) return kBadSize;
  if (setup.stamp != nullptr && !fits_segment(*setup.stamp)) return kBadSize;
  stream.width = static_cast<uint32_t>(setup.width);
  stream.x_resolution = setup.x_resolution;
  stream.y_resolution = setup.y_resolution;
  stream.is_top_first = setup.is_top_first;
  stream.stamp = setup.stamp;
  return kOk;
}

}  // namespace

// Grey as T_CompressBuffer's callers have it; whole bitmaps and loose rows decide by themselves.
CompressionSetup make_setup(const BitmapHandle& bitmap, int32_t output_type, int32_t quality) {
  CompressionSetup setup;
  setup.width = bitmap.Width;
  setup.height = bitmap.Height;
  setup.bits_per_pixel = bitmap.BitsPerPixel;
  setup.is_gray = bitmap.BitsPerPixel == 8 && core::has_flag(bitmap, T_FLAG_GRAY);
  setup.is_top_first = bitmap.ViewPerspective == 0;
  setup.x_resolution = bitmap.XResolution;
  setup.y_resolution = bitmap.YResolution;
  setup.output_type = output_type;
  setup.quality = quality;
  return setup;
}

// A size that a check is to refuse gives a number, too: no width counts as 0.
uint64_t strip_row_bytes(const CompressionSetup& setup) {
  const auto width = static_cast<uint64_t>(std::max(setup.width, 0));
  return setup.is_gray ? width : 3 * width;
}

Status check_setup(const CompressionSetup& setup, uint32_t strip_rows) {
  StreamDescription stream;
  return describe(setup, strip_rows, stream);
}

// A start that fails leaves nothing open.
Status Compressor::start(const CompressionSetup& setup, uint32_t strip_rows, uint32_t buffer_bytes,
                         ByteSink::Write write, void* context) {
  close();
  const Status status = open(setup, strip_rows, buffer_bytes, write, context);
  is_open_ = status.ok();
  if (!is_open_) close();
  return status;
}

// Memory first, then bytes: a start that fails for want of memory has written nothing.
Status Compressor::open(const CompressionSetup& setup, uint32_t strip_rows, uint32_t buffer_bytes,
                        ByteSink::Write write, void* context) {
  TRY(describe(setup, strip_rows, stream_));
  write_ = write;
  context_ = context;
  row_bytes_ = static_cast<size_t>(strip_row_bytes(setup));
  strip_rows_ = strip_rows;
  rows_left_ = static_cast<uint32_t>(setup.height);
  next_row_ = 0;
  TRY(sink_.start(write, context, buffer_bytes == 0 ? kDefaultBuffer : buffer_bytes));
  const jpeg::EncoderSetup encoder_setup = {stream_.width,           stream_.coded_rows,
                                            stream_.coding.is_gray,  stream_.coding.horizontal,
                                            stream_.coding.vertical, stream_.luminance,
                                            stream_.chrominance};
  TRY(encoder_.start(encoder_setup, jpeg::kernels(), jpeg::entropy_coder()));
  return write_headers();
}

// The encoder's work memory and the buffer go back, not only their contents.
void Compressor::close() {
  is_open_ = false;
  encoder_ = jpeg::Encoder();
  sink_ = ByteSink();
}

// kept: the CMP header goes out by itself, before the buffer is full: callers' routines see it as
// the first piece.
Status Compressor::write_headers() {
  if (stream_.coding.is_cmp) {
    TRY(write_cmp_header(stream_, sink_));
    TRY(sink_.flush());
  }
  TRY(write_stream_header(stream_, sink_));
  stream_.stamp = nullptr;  // its pixels need not live longer than the start
  return kOk;
}

// kept: a missing strip and a compression that is not open are told as missing memory.
Status Compressor::add_strip(const uint8_t* strip) {
  if (!is_open_ || strip == nullptr) return kNoMemory;
  next_row_ = 0;
  return add_rows(strip, row_bytes_, strip_rows_);
}

// kept: rows too many are dropped without a word. With half height every second row is coded,
// counted from the start of each strip, or of the picture when rows come one by one.
Status Compressor::add_rows(const uint8_t* rows, size_t stride, uint32_t count) {
  if (!is_open_ || rows == nullptr) return kNoMemory;
  count = std::min(count, rows_left_);
  rows_left_ -= count;
  if (!stream_.coding.is_half_height) return encoder_.encode_rows(rows, stride, count, sink_);
  const uint32_t first = next_row_ & 1;
  next_row_ += count;
  if (first >= count) return kOk;
  return encoder_.encode_rows(rows + first * stride, 2 * stride, (count - first + 1) / 2, sink_);
}

// A second end has nothing to end.
Status Compressor::end() {
  if (!is_open_) return kIncomplete;
  const Status status = finish_stream();
  close();
  return status;
}

// A stream whose rows did not all come is closed all the same: the frame header says more than
// there is, which readers fill up, and the status tells.
Status Compressor::finish_stream() {
  TRY(encoder_.finish(sink_));
  TRY(write_stream_end(sink_));
  TRY(sink_.flush());
  if (stream_.coding.is_cmp) TRY(write_trailer());
  return rows_left_ == 0 ? kOk : kIncomplete;
}

// kept: byte by byte, past the buffer.
Status Compressor::write_trailer() {
  for (const uint8_t byte : cmp_trailer(stream_)) TRY(write_(context_, {&byte, 1}));
  return kOk;
}

}  // namespace tavo::compress
