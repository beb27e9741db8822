// The row loops of filters, for each instruction set.
//
// Rows are those of a band: they may be read as far as their repeated edges and kRowSlack beyond.
// Results may be written kRowSlack beyond their end. Counts are in bytes, `step` is that from a
// pixel to the next.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// A coefficient and the byte that it weighs first.
struct Tap {
  const uint8_t* at;
  int32_t coefficient;
};

// (sum + add) / divisor, rounded down and cut to 0..255. Divisors that are no powers of two (of
// 2^22 at most) take a product, of what is first cut to 0..most; the shift is of its 64 bits.
struct Division {
  int32_t add;
  int32_t most;
  uint32_t multiplier;  // 0: none is needed
  int32_t shift;
};

// What replaces a division by an odd square: the upper half of a product of 16 bits, shifted. Exact
// for all sums that a window can have and half its area.
struct SquareDivision {
  uint16_t multiplier;
  uint8_t shift;
};
inline constexpr uint32_t kMaxNarrowWindow = 15;  // whose sums fit 16 bits
constexpr SquareDivision square_division(uint32_t size) {
  const uint32_t area = size * size;
  uint32_t shift = 0;
  while (((1u << (17 + shift)) + area - 1) / area <= UINT16_MAX) ++shift;
  const auto multiplier = static_cast<uint16_t>(((1u << (16 + shift)) + area - 1) / area);
  return {multiplier, static_cast<uint8_t>(shift)};
}

// What replaces a division by a wider one: the bits from `shift` on of a product of 64 bits. The
// area is odd, so that a half is never reached. The product is too large by less than the sum, and
// that is less than 2^shift / area, what one more of the sum would make: the quotient is exact.
struct WideDivision {
  uint32_t multiplier;
  int32_t shift;
};
constexpr WideDivision wide_division(uint32_t size) {
  const uint64_t area = uint64_t{size} * size;
  constexpr int32_t kShift = 40;
  return {static_cast<uint32_t>(((uint64_t{1} << kShift) + area - 1) / area), kShift};
}

struct RowKernels {
  // Sums of taps, an even number of them, divided. They fit 32 bits with what is added.
  void (*weigh)(const Tap* taps, size_t tap_count, const Division& division, bool is_absolute,
                size_t count, uint8_t* out);
  // Sums of columns: one row more and one row less, which may be null.
  void (*slide)(uint16_t* sums, const uint8_t* added, const uint8_t* removed, size_t count);
  // The means of `size` times `size` pixels, up to kMaxNarrowWindow, by the sums of columns from
  // the first of each window on.
  void (*average)(const uint16_t* sums, size_t step, uint32_t size, size_t count, uint8_t* out);
  // The sums of such squares of any size, for steps of 1, 3 or 4; up to kRowSlack bytes more.
  void (*add_columns)(const uint16_t* columns, size_t step, uint32_t size, size_t count,
                      uint32_t* sums);
  // Their means, where the size is above kMaxNarrowWindow.
  void (*divide_sums)(const uint32_t* sums, uint32_t size, size_t count, uint8_t* out);
  // The lesser and the greater of each two bytes; `out` may be one of the rows.
  void (*least)(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count);
  void (*greatest)(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count);
  // A rule of complementary hulling.
  void (*raise)(uint32_t rule, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out,
                size_t count);
};

extern const RowKernels kRowKernelsPlain;
extern const RowKernels kRowKernelsSse2;
extern const RowKernels kRowKernelsAvx2;

const RowKernels& row_kernels();

}  // namespace tavo::process
