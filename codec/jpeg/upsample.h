// Brings a component's rows to the picture's resolution.
//
// The smooth ("triangle") kinds weigh the nearer sample with 3/4 and the farther with 1/4 in each
// direction; the formulas, roundings included, are the ones of other decoders, so that pictures
// come out bit for bit the same. Every other ratio repeats samples.
//
// Rows have kRowSlack readable bytes before and behind the samples of `in`, and as many writable
// ones behind those of `out`.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::jpeg {

inline constexpr size_t kRowSlack = 64;

struct Upsampling {
  // Twice the width: 2 * count samples.
  void (*double_width)(const uint8_t* in, size_t count, uint8_t* out);
  // Twice both: one of the two rows that lie between `near` and its neighbour `far`.
  void (*double_both)(const uint8_t* near, const uint8_t* far, size_t count, uint8_t* out);
  // Twice the height: as above; `bias` is 1 for the upper row of a pair, 2 for the lower.
  void (*double_height)(const uint8_t* near, const uint8_t* far, int bias, size_t count,
                        uint8_t* out);
};

extern const Upsampling kUpsamplingPlain;
extern const Upsampling kUpsamplingSse2;
extern const Upsampling kUpsamplingAvx2;

// The fastest for this processor.
const Upsampling& choose_upsampling();

// Any ratio: sample x of `out` is sample x * numerator / denominator of `in`.
void repeat_samples(const uint8_t* in, size_t numerator, size_t denominator, size_t count,
                    uint8_t* out);

}  // namespace tavo::jpeg
