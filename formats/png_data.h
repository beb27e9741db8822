// The data of a PNG file's IDAT chunks as one stream (5.6: they follow each other).
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::png {

// Chunks may end anywhere in the compressed data (10.1), within a code as well, so the decoder is
// to know nothing of them. The chunk behind the data is not read beyond its head.
class DataStream {
 public:
  // `bytes` stand behind the head of the first chunk, which has `size` bytes of data.
  DataStream(ByteSource& bytes, uint32_t size);

  // As ByteSource wants it. Data whose checksum turns out to be wrong behind them: kBadData, when
  // what follows is asked for.
  Status read_some(std::span<uint8_t> into, size_t& got);

 private:
  Status next_chunk();

  ByteSource& bytes_;
  uint32_t left_;  // of the chunk
  // CRC-32 (5.5) of the chunk's type and of its data so far.
  uint32_t sum_;
  bool is_at_end_ = false;
};

}  // namespace tavo::png
