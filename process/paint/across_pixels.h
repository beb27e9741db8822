// Rows at another width: single pixels, or means.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/paint/axis.h"

namespace tavo::process {

class AcrossPixels {
 public:
  // Of the device pixels from `left` to `right`, in rows that begin with the picture's column
  // `from`. Pixels have 1 to 4 bytes. kNoMemory.
  Status start(const Axis& axis, int32_t left, int32_t right, int64_t from, uint32_t pixel_bytes);

  // Single pixels.
  void pick(const uint8_t* row, uint8_t* out) const;
  // From results of DownMean, behind which kSlack more may be read: single pixels, or means. `out`
  // has room for a pixel more.
  void shrink(const uint16_t* row, uint8_t* out) const;

  static constexpr size_t kSlack = 4;

 private:
  struct Column {
    uint32_t first;
    uint32_t inner;  // pixels between the first and the last
    uint16_t lead;   // weights of those two
    uint16_t tail;
  };

  template <size_t kBytes>
  void pick_bytes(const uint8_t* row, uint8_t* out) const;
  void round_picked(const uint16_t* row, uint8_t* out) const;
  template <size_t kBytes>
  void average(const uint16_t* row, uint8_t* out) const;
  void average_long(const uint16_t* row, uint8_t* out) const;

  bool takes_means_ = false;
  bool is_plain_ = false;  // the pixels are neighbours in the same order
  bool is_long_ = false;   // sums do not fit 32 bits
  uint32_t pixel_bytes_ = 0;
  uint32_t inner_weight_ = 0;
  uint32_t shift_ = 0;
  Array<Column> columns_;
};

}  // namespace tavo::process
