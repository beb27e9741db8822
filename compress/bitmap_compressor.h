// Whole bitmaps into compressed files, and the writer of the compressed formats.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "compress/compressor.h"
#include "compress/strip_rows.h"
#include "io/row_writer.h"
#include "tavo45.h"

namespace tavo::compress {

// Rows in a strip of the library's own callers: an MCU row of any sampling.
inline constexpr uint32_t kStripRows = 16;

// A ByteSink::Write into the OutputFile at `context`.
Status write_to_file(void* context, std::span<const uint8_t> bytes);

// Rows that come one by one, or some at a time, through strips into a compressor. What
// CompressCallBack and the file-to-file converters do.
class StripFeeder {
 public:
  // `strip`: kStripRows rows as the compressor takes them.
  Status start(const BitmapHandle& picture, StripRows::Target target, uint8_t* strip);
  Status add(Compressor& compressor, const uint8_t* rows, size_t stride, uint32_t count);
  // Codes the strip that is not full, if there is one.
  Status finish(Compressor& compressor);
  // Drops the rows of the strip that is not full.
  void forget() { gathered_ = 0; }

 private:
  StripRows rows_;
  uint8_t* strip_ = nullptr;
  size_t strip_row_bytes_ = 0;
  uint32_t gathered_ = 0;
};

// How a picture is compressed.
struct Choice {
  int32_t output_type = 0;
  int32_t quality = 0;
  bool is_gray = false;
  const Stamp* stamp = nullptr;  // null for none
};

// Writes compressed files: as it was told, or when the request names a format as that one is,
// depths 1 and 8 grey and all others in colours. Rows may come bottom first; a stream says so then.
class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}
  explicit Writer(const Choice& choice) : RowWriter(this), choice_(choice) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout);
  Status begin(const io::SaveRequest& request, const BitmapHandle& picture);
  Status put(std::span<const uint8_t> rows);
  Status finish();

 private:
  Choice choice_;
  CompressionSetup setup_;
  size_t row_bytes_ = 0;
  Buffer strip_;
  StripFeeder feeder_;
  Compressor compressor_;
  io::OutputFile file_;
};

// The writer of format identifiers 10, 11 and 20 to 24.
Status write(io::WriterUse use);

// T_CompressBitmap; with a stamp for T_CompressBitmapWithStamp, null for none.
Status compress_bitmap(BitmapHandle& bitmap, const char* name, int32_t output_type, int32_t quality,
                       const Stamp* stamp);

}  // namespace tavo::compress
