// One compression from start to end: strips of rows to a CMP file or a JPEG stream. All entry
// points that compress end here.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/byte_sink.h"
#include "base/status.h"
#include "codec/jpeg/encoder.h"
#include "compress/stream_writer.h"

namespace tavo::compress {

// What will be compressed, and how.
struct CompressionSetup {
  int32_t width = 0;
  int32_t height = 0;
  int32_t bits_per_pixel = 0;  // of the bitmap; strips have 8 (grey) or 24 bits
  bool is_gray = false;
  bool is_top_first = false;
  int32_t x_resolution = 0;
  int32_t y_resolution = 0;
  int32_t output_type = 0;
  int32_t quality = 0;
  const Stamp* stamp = nullptr;  // null for none; read during the start
};

// The setup for a bitmap: grey when it has 8 bits and the grey mark.
CompressionSetup make_setup(const BitmapHandle& bitmap, int32_t output_type, int32_t quality);

// Bytes of a row as strips hold it.
uint64_t strip_row_bytes(const CompressionSetup& setup);

// kNotCompressible, kBadData, kBadQuality, kZeroMultiplier, kBadSize: whether a compression of
// strips of `strip_rows` rows could start.
Status check_setup(const CompressionSetup& setup, uint32_t strip_rows);

class Compressor {
 public:
  // Writes all that precedes the entropy-coded data; a CMP header goes out at once. Whatever was
  // under way is dropped. Besides check_setup: kNoMemory, kWriteError.
  Status start(const CompressionSetup& setup, uint32_t strip_rows, uint32_t buffer_bytes,
               ByteSink::Write write, void* context);

  // The next strip, of as many rows as there are still to come when that is less. With half-height
  // coding rows 0, 2, 4, ... of each strip are coded.
  Status add_strip(const uint8_t* strip);

  // `count` rows wherever they begin, `stride` bytes apart.
  Status add_rows(const uint8_t* rows, size_t stride, uint32_t count);

  // Ends the stream; a CMP trailer goes out byte by byte. kIncomplete when rows are missing.
  Status end();

  bool is_open() const { return is_open_; }
  // Drops what is under way and gives its memory back.
  void close();
  size_t row_bytes() const { return row_bytes_; }
  uint32_t strip_rows() const { return strip_rows_; }

 private:
  Status open(const CompressionSetup& setup, uint32_t strip_rows, uint32_t buffer_bytes,
              ByteSink::Write write, void* context);
  Status finish_stream();
  Status write_headers();
  Status write_trailer();

  StreamDescription stream_;
  jpeg::Encoder encoder_;
  ByteSink sink_;
  ByteSink::Write write_ = nullptr;
  void* context_ = nullptr;
  size_t row_bytes_ = 0;
  uint32_t strip_rows_ = 0;
  uint32_t rows_left_ = 0;
  uint32_t next_row_ = 0;  // within the strip or, without strips, the picture
  bool is_open_ = false;
};

}  // namespace tavo::compress
