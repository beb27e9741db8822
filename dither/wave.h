// Error diffusion of many rows at once.
//
// A row needs the errors of the rows above only a few pixels beyond its own position, so sixteen
// rows run together, each kSkew pixels behind the one above: step t handles pixel t - kSkew * lane
// of every row. Sixteen pixels, one of each row, are the lanes of vectors of 16-bit words; the
// sums, the errors and their clamped results all fit. Errors of the rows above are those of lower
// lanes some steps ago, so they are read from a short history at an offset, and only the last
// rows' errors are written out.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dither/dither_pass.h"

namespace tavo::color {

inline constexpr uint32_t kWaveLanes = 16;
inline constexpr uint32_t kSkew = 8;      // whole output bytes at every depth
inline constexpr uint32_t kSteps = 64;    // of a chunk
inline constexpr uint32_t kHistory = 32;  // steps before it; taps reach back 27
inline constexpr uint32_t kAbove = 8;     // words before lane 0: errors of rows above the first

// The errors of one step: row -k is word kAbove - k, lane n word kAbove + n. A cache line.
struct alignas(64) WaveErrors {
  int16_t words[32];
};

// A tap as the lanes see it: the error `lag` steps ago, `row` lanes lower.
struct WaveTap {
  int32_t offset;  // in words from lane 0 of this step
  int16_t weight;
};

// The division in 16-bit words: (n * reciprocal >> 16 >> shift) + (n < 0), truncating like the
// division it replaces. Stevenson-Arce's sums do not fit 16 bits: its weights are halved. Of its
// odd ones, two of 5, half of 2 is taken in the weight and the rest added up apart.
struct WaveFilter {
  int16_t reciprocal;
  int16_t shift;
  int16_t right1;
  int16_t right2;
  uint32_t tap_count;
  WaveTap taps[kMaxTaps];
  bool is_halved;
  int32_t odd_offsets[2];
};

enum class WaveChoice { kGrayThreshold, kGrayTable, kBlackWhite, kSixteen, kCube, kClasses };
inline constexpr uint32_t kWaveChoices = 6;

// What a kernel works on: `steps` steps of sixteen rows.
struct Wave {
  alignas(64) WaveErrors errors[3][kHistory + kSteps];  // red, green, blue; or grey alone
  alignas(32) uint8_t in[kSteps * 4 * kWaveLanes];      // by step, byte of the pixel, lane
  alignas(32) uint8_t out[kSteps * kWaveLanes];         // indices by step, lane
  alignas(32) int16_t active[kSteps][kWaveLanes];       // -1 where there is a pixel, else 0
  alignas(32) int16_t last[3][kWaveLanes];              // errors one step ago
  alignas(32) int16_t before[3][kWaveLanes];            // and two
  bool all_active;
  uint32_t steps;
  Pixels pixels;  // layout of `in`
  WaveFilter filter;
  DitherPass* pass;
  alignas(16) uint8_t gray_values[32];  // by the top five bits
  alignas(16) uint8_t gray_indices[32];
  int16_t white;  // value of index 1 under kBlackWhite and kGrayThreshold
};

using WaveKernel = void (*)(Wave& wave);
WaveKernel wave_kernel_sse2(WaveChoice choice, bool is_floyd_steinberg);
WaveKernel wave_kernel_avx2(WaveChoice choice, bool is_floyd_steinberg);

WaveFilter wave_filter(const Diffusion& diffusion);

// Fewer rows than that go one by one: all error rows of the pass are to be replaced.
inline uint32_t least_wave_rows(const DitherPass& pass) {
  return pass.diffusion().rows < 2 ? 2 : pass.diffusion().rows;
}

// Dithers least_wave_rows() or more rows.
void diffuse_rows(DitherPass& pass, const uint8_t* rows, size_t stride, uint8_t* out,
                  size_t out_stride, uint32_t count);

}  // namespace tavo::color
