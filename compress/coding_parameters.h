// Output type and quality factor to what the JPEG encoder needs: which rows, which sampling, which
// quantisers. The rules are those that tavo45.h states at "Compressed pictures: coding".
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "codec/jpeg/encoder.h"

namespace tavo::compress {

// Two files that were coded with equal ones differ by their pictures alone.
struct CodingParameters {
  bool is_cmp = false;
  bool is_gray = false;
  bool is_half_height = false;  // rows 0, 2, 4, ... alone are coded
  uint32_t horizontal = 1;      // sampling factors of the luminance
  uint32_t vertical = 1;
  int32_t value = 0;  // internal quality value: multiplier of the quantisation tables, in 50ths

  bool operator==(const CodingParameters&) const = default;
};

// Output type 0 (CMP) or 1 to 6 (JPEG), factor as T_CompressBitmap documents it. kBadData for
// another type, kBadQuality for a factor out of range.
Status choose_parameters(int32_t output_type, int32_t factor, bool is_gray,
                         CodingParameters& coding);

// The quality factor with which output type 0 codes so, or kNoFactor: the inverse of
// choose_parameters.
inline constexpr int32_t kNoFactor = INT32_MIN;
int32_t find_factor(const CodingParameters& coding);

// Which scaling of the standard's luminance quantisers comes nearest, by the sum of all
// differences, to those of a picture in natural order: as libjpeg's quality, 1 to 100, and as an
// internal value, 1 to 255.
int32_t estimate_quality(std::span<const uint16_t, jpeg::kBlockSize> quantisers);
int32_t estimate_value(std::span<const uint16_t, jpeg::kBlockSize> quantisers);

// The tables for an internal value, or the custom table when one is loaded. kZeroMultiplier for a
// value outside 1 to 255.
Status build_tables(int32_t value, jpeg::QuantiserTable& luminance,
                    jpeg::QuantiserTable& chrominance);

// Loads a custom table (64 words in zigzag order, of which the low bytes count) for all later
// tables, or with null returns to the scaled ones. kBadArgument for an entry that is 0.
Status load_custom_table(const uint32_t* table);

}  // namespace tavo::compress
