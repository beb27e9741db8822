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

struct RowKernels {
  // The middle one of 9 and of 25.
  void (*median3)(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out);
  void (*median5)(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out);
  // Sums of taps, an even number of them, divided. They fit 32 bits with what is added.
  void (*weigh)(const Tap* taps, size_t tap_count, const Division& division, bool is_absolute,
                size_t count, uint8_t* out);
  // A rule of complementary hulling.
  void (*raise)(uint32_t rule, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out,
                size_t count);
};

extern const RowKernels kRowKernelsPlain;
extern const RowKernels kRowKernelsSse2;
extern const RowKernels kRowKernelsAvx2;

const RowKernels& row_kernels();

}  // namespace tavo::process
