// The inverse transform: dequantises 8x8 coefficients and turns them into samples.
//
// The accurate integer transform that decoders agree on bit for bit: 13-bit constants, columns
// first, 2 extra bits kept between the passes. Coefficients are dequantised in 16 bits and the
// first pass saturates to 16 bits, which sound streams never notice, so that damaged ones give
// the same samples on every processor.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::jpeg {

// Where the coefficients of two blocks are that may be other than zero.
enum class Extent {
  kFlat,    // the DC value only
  kCorner,  // the first four rows and columns
  kFull,
};

// Coefficients of a lower zigzag index all lie in the corner.
inline constexpr int kCornerEnd = 10;

inline Extent extent_of(int last_index) {
  if (last_index == 0) return Extent::kFlat;
  return last_index < kCornerEnd ? Extent::kCorner : Extent::kFull;
}

// Transforms two blocks that share quantisers, all in natural order, and stores 8 rows of 8 samples
// at each output, `stride` bytes apart. A pair keeps the widest vectors busy.
using InverseTransform = void (*)(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                                  Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride);

void inverse_transform_plain(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                             Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride);
void inverse_transform_sse2(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                            Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride);
void inverse_transform_avx2(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                            Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride);

// The fastest for this processor.
InverseTransform choose_inverse_transform();

}  // namespace tavo::jpeg
