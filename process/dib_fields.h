// Pixels whose channels are where a header's masks say: BI_BITFIELDS, and what Windows CE calls
// BI_ALPHABITFIELDS.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "process/dib_header.h"

namespace tavo::dib {

// Turns rows of masked 16-bit pixels into 24 bits and of masked 32-bit pixels into 24 or 32 bits,
// blue first; channels are scaled to 8 bits, rounded to nearest. Alpha is the fourth byte of 32
// bits.
class FieldConverter {
 public:
  FieldConverter(const Header& header, int32_t bits_out);

  // `out` has room for the delivered row and does not overlap `in`.
  void convert(const uint8_t* in, uint8_t* out, int32_t width) const;

 private:
  struct Field {
    uint32_t shift;
    uint32_t bits;
    uint32_t max;                          // 2^bits - 1
    std::array<uint8_t, 256> levels = {};  // of channels of up to 8 bits

    explicit Field(Channel channel);
    uint8_t read(uint32_t pixel) const;
  };

  template <class Pixel, size_t kBytesOut>
  void convert_pixels(const uint8_t* in, uint8_t* out, int32_t width) const;

  int32_t bits_in_;
  int32_t bits_out_;
  Field blue_, green_, red_, alpha_;
};

}  // namespace tavo::dib
