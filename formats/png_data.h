// The data of a PNG file's IDAT chunks as one stream (5.6: they follow each other).
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::png {

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
  uint32_t sum_;
  bool is_at_end_ = false;
};

}  // namespace tavo::png
