// The loops of filtered resampling. Samples have 16 bits, channels lie in planes of their own, and
// a row is its planes, one behind the other. All sizes are multiples of kSmoothBlock: what lies
// behind a plane's last sample is worked on, too.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

inline constexpr size_t kSmoothBlock = 16;
// Samples that may be read behind the last one of a plane, whose parts are 0.
inline constexpr size_t kSmoothSlack = 32;

struct SmoothPlanes {
  const int16_t* from;
  size_t from_stride;  // in samples, from plane to plane
  int16_t* to;
  size_t to_stride;
  uint32_t count;
};

// Windows of any length, in steps of eight samples.
struct SmoothTaps {
  const uint32_t* first;  // of each result
  const int16_t* parts;   // eight for each result, for the first step of all, then for the next
  uint32_t steps;
  uint32_t results;
};

// Windows of four neighbouring results at a time, which begin within seven samples, pair of samples
// by pair of samples.
struct SmoothPairs {
  const uint32_t* first;    // of the four
  const uint8_t* shuffles;  // 16 for the four: where the bytes of their first pairs are
  const int16_t* parts;     // four pairs for the first pairs of all fours, then for the next
  uint32_t pairs;
  uint32_t results;
};

// The parts of two rows, the first one's in the lower half.
using SmoothParts = uint32_t;

struct SmoothKernels {
  // A row across: (sum of part * sample + 128) >> 8, so that 6 bits of fraction are left.
  void (*across_taps)(const SmoothTaps& taps, const SmoothPlanes& planes);
  void (*across_pairs)(const SmoothPairs& pairs, const SmoothPlanes& planes);

  // Two rows' parts into the sums of a result. They lie as finish() wants them.
  void (*add)(const int16_t* one, const int16_t* two, SmoothParts parts, int32_t* sums,
              size_t samples, bool is_first);
  // (sum + 2^19) >> 20 as bytes, clamped.
  void (*finish)(const int32_t* sums, uint8_t* to, size_t samples);
  // The same of all rows of a result at once, 2 * `pairs` of them.
  void (*blend)(const int16_t* const* rows, const SmoothParts* parts, uint32_t pairs, uint8_t* to,
                size_t samples);
};

extern const SmoothKernels kSmoothSse2, kSmoothSsse3, kSmoothAvx2;

}  // namespace tavo::process
