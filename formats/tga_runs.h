// The run-length coding of TGA files.
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::tga {

// Undoes the coding of pixels of 1 to 4 bytes. A packet may go on in the next row: what is left
// of it is kept.
class RunDecoder {
 public:
  RunDecoder(ByteSource& bytes, size_t pixel_bytes) : bytes_(bytes), pixel_bytes_(pixel_bytes) {}

  // Fills `row`, whole pixels; may write up to RowDelivery::kSlack bytes behind it. `got` falls
  // short where the data end.
  Status decode_row(std::span<uint8_t> row, size_t& got);

 private:
  template <size_t kPixelBytes>
  uint8_t* decode_fast(uint8_t* out, uint8_t* end);
  uint8_t* run_fast(uint8_t* out, uint8_t* end);
  bool start_packet();
  uint8_t* put_run(uint8_t* out, const uint8_t* end);
  Status put_literals(uint8_t*& out, const uint8_t* end);

  ByteSource& bytes_;
  size_t pixel_bytes_;
  size_t left_ = 0;  // bytes of the packet that are still to come
  bool is_run_ = false;
  uint8_t pixel_[4] = {};
};

}  // namespace tavo::tga
