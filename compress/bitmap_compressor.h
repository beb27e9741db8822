// Whole bitmaps into compressed files, and the writer of the compressed formats.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "compress/compressor.h"
#include "compress/strip_rows.h"
#include "io/format.h"
#include "io/output_file.h"
#include "tavo45.h"

namespace tavo::compress {

// Rows in a strip of the library's own callers.
inline constexpr uint32_t kStripRows = 16;

// T_CompressBitmap; with a stamp for T_CompressBitmapWithStamp, null for none.
Status compress_bitmap(BitmapHandle& bitmap, const char* name, int32_t output_type, int32_t quality,
                       const Stamp* stamp);

// The writer of format identifiers 10, 11 and 20 to 24. Depths 1 and 8 are written grey, all
// others as colours.
Status write(const char* name, BitmapHandle* bitmap, const io::SaveRequest& request);

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

}  // namespace tavo::compress
