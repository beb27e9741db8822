// What becomes of a pixel when something is drawn over it.
// Facts: Microsoft, "Windows GDI", binary and ternary raster operations ([MS-WMF] 2.1.1.2 and
// 2.1.1.31 have their codes).
#pragma once

#include <cstdint>

namespace tavo::draw {

// new = (old & keep) ^ flip: all that a raster operation can do once brush and source are known.
struct Mix {
  uint32_t keep = 0;
  uint32_t flip = 0;
};

// A function of three bits: of the brush (pattern), of a bitmap (source) and of what is there.
class RasterOp {
 public:
  // Bit 4 * pattern + 2 * source + destination of the table is the result.
  constexpr explicit RasterOp(uint8_t table) : table_(table) {}

  // A binary operation, 1 (black) to 16 (white), of the brush and what is there.
  static constexpr RasterOp binary(uint32_t code) {
    const uint32_t bits = (code - 1) & 15;
    uint32_t table = 0;
    for (uint32_t i = 0; i < 8; ++i) table |= (bits >> (i >> 2 << 1 | (i & 1)) & 1) << i;
    return RasterOp(static_cast<uint8_t>(table));
  }

  constexpr bool operator==(const RasterOp&) const = default;

  constexpr bool needs_source() const { return (table_ >> 2 & 0x33) != (table_ & 0x33); }
  constexpr bool needs_pattern() const { return table_ >> 4 != (table_ & 15); }

  // Whether doing it twice is the same as once: not where it inverts what is there.
  constexpr bool is_repeatable() const {
    const uint32_t when_zero = table_ & 0x55, when_one = table_ >> 1 & 0x55;
    return (when_zero & ~when_one) == 0;
  }

  constexpr Mix mix(uint32_t pattern, uint32_t source) const {
    const uint32_t zero = (~pattern & ~source & all(0)) | (~pattern & source & all(2)) |
                          (pattern & ~source & all(4)) | (pattern & source & all(6));
    const uint32_t one = (~pattern & ~source & all(1)) | (~pattern & source & all(3)) |
                         (pattern & ~source & all(5)) | (pattern & source & all(7));
    return {zero ^ one, zero};
  }

 private:
  constexpr uint32_t all(uint32_t bit) const { return 0 - (uint32_t{table_} >> bit & 1); }

  uint8_t table_;
};

inline constexpr RasterOp kCopyBrush = RasterOp(0xF0);   // PATCOPY
inline constexpr RasterOp kCopySource = RasterOp(0xCC);  // SRCCOPY
inline constexpr RasterOp kInvert = RasterOp(0x55);      // DSTINVERT

}  // namespace tavo::draw
