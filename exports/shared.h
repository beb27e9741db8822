// What several calls of the exports share: nothing below this layer keeps state between calls.
#pragma once

#include <atomic>
#include <cstdint>

#include "color/convert.h"
#include "compress/call_by_call.h"
#include "formats/jpeg_push.h"

namespace tavo::exports {

struct Shared {
  // Keeps what it has learnt about the output palette from one row to the next.
  color::RowConverter converter;
  std::atomic_flag converter_in_use;
  compress::BufferCompression buffer_compression;
  compress::DataCompression data_compression;
  jpeg::PushDecoder push_decoder;
  uint16_t twain_condition = 0;  // of the last call of the scanner exports
};

extern Shared shared;

}  // namespace tavo::exports
