// What no filter mixes: the fourth byte of 32-bit pixels and bit 15 of 16-bit pixels. A result's
// are those of the source pixel in which its centre lies.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/smooth/weights.h"

namespace tavo::process {

class CarriedBits {
 public:
  // Depths without such bits cost nothing. kNoMemory.
  Status start(int32_t bits, const SmoothSide& across, const SmoothSide& down);

  // Rows in order, before the results that they complete.
  void take(const uint8_t* row);
  // Into rows of results in order.
  void put(uint8_t* row);

 private:
  // Rows of results whose centres have passed and that are not finished.
  static constexpr uint32_t kRing = 8;

  int64_t source_row(int64_t result) const;
  uint8_t* slot(uint32_t number) {
    return bytes_.data() + size_t{number % kRing} * columns_.size();
  }

  uint32_t pixel_bytes_ = 0;
  uint8_t mask_ = 0;  // of a pixel's last byte
  SmoothSide down_;
  Array<uint32_t> columns_;  // the byte of a row for each result
  Buffer bytes_;
  int64_t taken_ = 0;  // rows
  int64_t next_ = 0;   // the first result whose row has not come
  uint32_t kept_ = 0;  // rows that are results'
  int64_t put_ = 0;    // results
  uint32_t put_slot_ = 0;
};

}  // namespace tavo::process
