// The compressions that callers drive call by call: by strips, through a row sink, by loose rows.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "compress/bitmap_compressor.h"
#include "compress/compressor.h"
#include "tavo45.h"

namespace tavo::compress {

// A caller's write routine as a ByteSink::Write with this object as context. A routine that takes
// fewer bytes than it is given has failed.
struct CallerWrite {
  T_CompressWrite write = nullptr;
  void* user_data = nullptr;

  static Status forward(void* context, std::span<const uint8_t> bytes);
};

// T_StartCompressBuffer and relatives, and CompressCallBack, which drives them. One compression at
// a time: a start drops the one under way.
class BufferCompression {
 public:
  Status start(const BitmapHandle& bitmap, CallerWrite write, uint32_t strip_bytes,
               uint32_t buffer_bytes, int32_t output_type, int32_t quality);
  Status add_strip(const void* strip);
  Status end();

  // CompressCallBack; `write` is the routine that the first call starts with.
  Status consume(const BitmapHandle& bitmap, const void* rows, int32_t count,
                 const T_CompressContext& context, T_CompressWrite write);

 private:
  Status start_consuming(const BitmapHandle& bitmap, const T_CompressContext& context,
                         T_CompressWrite write);

  Compressor compressor_;
  CallerWrite write_;
  StripFeeder feeder_;
  const T_CompressContext* consuming_for_ = nullptr;  // null: strips come from the caller
};

// T_StartCompressData and relatives: loose rows, any number a call, top first.
class DataCompression {
 public:
  Status start(int32_t width, int32_t height, int32_t bits_per_pixel, CallerWrite write,
               int32_t output_type, int32_t quality);
  Status add(const void* rows, int32_t count);
  Status end();

 private:
  Compressor compressor_;
  CallerWrite write_;
  StripFeeder feeder_;
  Buffer strip_;
  size_t row_bytes_ = 0;
};

}  // namespace tavo::compress
