#include "compress/coding_parameters.h"

#include <algorithm>
#include <cstdlib>

#include "base/settings.h"

namespace tavo::compress {

namespace {

// Of every output type; CMP has the presets below 0 besides.
constexpr int32_t kMaxFactor = 255;

// What a factor stands for.
struct Preset {
  int32_t value;
  bool is_half_height;
  uint32_t horizontal;
  uint32_t vertical;
};
// Factors -1 to -9. kept: the last two are the same.
constexpr Preset kPresets[] = {
    {5, false, 1, 1},  {5, false, 2, 1}, {15, false, 2, 1}, {30, false, 2, 1}, {45, false, 2, 2},
    {90, false, 2, 2}, {55, true, 2, 1}, {93, true, 2, 1},  {93, true, 2, 1},
};

// The ranges of the library's own format: small factors keep the chroma whole, the largest leave
// out every second row. kept: 6 is added up to 100, so that 0 still has a table, while beyond a
// factor counts half; the quantisers of 101 are finer than those of 100.
Preset cmp_preset(int32_t factor) {
  if (factor < 0) return kPresets[-factor - 1];
  if (factor > 100) return {factor / 2, true, 2, 1};
  const int32_t value = factor + 6;
  if (value < 14) return {value, false, 1, 1};
  if (value >= 55 && value <= 100) return {value, false, 2, 2};
  return {value, false, 2, 1};
}

// JFIF: the factor as it is, sampling by the output type alone.
Preset jpeg_preset(int32_t output_type, int32_t factor) {
  const bool is_reduced = output_type > 2;
  const bool is_quarter = output_type == 3 || output_type == 4;
  return {factor, false, is_reduced ? 2u : 1u, is_quarter ? 2u : 1u};
}

// kept: quotients are cut, not rounded, and no quantiser is below 2: what would be 0, 1 or 2
// becomes 2.
int32_t scale(int32_t base, int32_t value) {
  const int32_t entry = base * value / 50;
  return entry < 3 ? 2 : std::min(entry, 255);
}

// In the order of a DQT segment (ISO/IEC 10918-1, B.2.4.1).
jpeg::QuantiserTable scale_table(const std::array<uint8_t, jpeg::kBlockSize>& base, int32_t value) {
  jpeg::QuantiserTable table;
  for (size_t k = 0; k < table.size(); ++k) {
    table[k] = static_cast<uint8_t>(scale(base[jpeg::kZigzag[k]], value));
  }
  return table;
}

// The first of 1 to `last` with which `scaled`(base, number) gives a table nearest to this one.
// Tables that no number makes, such as custom ones, get the nearest all the same.
template <class Scaled>
int32_t nearest(std::span<const uint16_t, jpeg::kBlockSize> table, int32_t last, Scaled scaled) {
  int32_t best = 1;
  int32_t least = INT32_MAX;
  for (int32_t number = 1; number <= last; ++number) {
    int32_t distance = 0;
    for (size_t i = 0; i < table.size(); ++i) {
      distance += std::abs(table[i] - scaled(jpeg::kLuminanceQuantisers[i], number));
    }
    if (distance < least) {
      least = distance;
      best = number;
    }
  }
  return best;
}

}  // namespace

// kept: the range of a factor is checked for all types alike, up to 255; whether its value makes
// tables is found out by build_tables.
Status choose_parameters(int32_t output_type, int32_t factor, bool is_gray,
                         CodingParameters& coding) {
  if (output_type < 0 || output_type > 6) return kBadData;
  const bool is_cmp = output_type == 0;
  const int32_t least = is_cmp ? -static_cast<int32_t>(std::size(kPresets)) : 0;
  if (factor < least || factor > kMaxFactor) return kBadQuality;
  Preset preset = is_cmp ? cmp_preset(factor) : jpeg_preset(output_type, factor);
  if (is_gray) {
    // All rows of a grey picture are coded, twice as coarsely instead.
    if (preset.is_half_height) preset.value *= 2;
    preset = {preset.value, false, 1, 1};
  }
  coding = {is_cmp,          is_gray,     preset.is_half_height, preset.horizontal,
            preset.vertical, preset.value};
  return kOk;
}

// Several factors may code alike: 0 to 255 come first, from the finest on, then the presets.
int32_t find_factor(const CodingParameters& coding) {
  const auto matches = [&](int32_t factor) {
    CodingParameters made;
    return choose_parameters(0, factor, coding.is_gray, made).ok() && made == coding;
  };
  for (int32_t factor = 0; factor <= kMaxFactor; ++factor) {
    if (matches(factor)) return factor;
  }
  for (int32_t factor = -1; factor >= -static_cast<int32_t>(std::size(kPresets)); --factor) {
    if (matches(factor)) return factor;
  }
  return kNoFactor;
}

// libjpeg's rule, which most programs that ask for a quality from 1 to 100 follow: percentages of
// tables K.1 and K.2, rounded, and 255 at most unless 16-bit quantisers are allowed.
int32_t estimate_quality(std::span<const uint16_t, jpeg::kBlockSize> quantisers) {
  const bool is_wide = std::ranges::max(quantisers) > 255;
  return nearest(quantisers, 100, [&](int32_t base, int32_t quality) {
    const int32_t percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    return std::clamp((base * percent + 50) / 100, 1, is_wide ? 32767 : 255);
  });
}

// The scaling of scale(), by the library's own internal values.
int32_t estimate_value(std::span<const uint16_t, jpeg::kBlockSize> quantisers) {
  return nearest(quantisers, 255, scale);
}

// kept: a custom table serves both kinds of components, whatever the factor.
Status build_tables(int32_t value, jpeg::QuantiserTable& luminance,
                    jpeg::QuantiserTable& chrominance) {
  if (settings.has_custom_quantisers) {
    std::ranges::copy(settings.custom_quantisers, luminance.begin());
    chrominance = luminance;
    return kOk;
  }
  if (value < 1 || value > 255) return kZeroMultiplier;
  luminance = scale_table(jpeg::kLuminanceQuantisers, value);
  chrominance = scale_table(jpeg::kChrominanceQuantisers, value);
  return kOk;
}

// B.2.4.1: quantisers of 0 do not exist. All entries are looked at before one is taken over.
Status load_custom_table(const uint32_t* table) {
  if (table == nullptr) {
    settings.has_custom_quantisers = false;
    return kOk;
  }
  for (size_t k = 0; k < jpeg::kBlockSize; ++k) {
    if ((table[k] & 0xFF) == 0) return kBadArgument;
  }
  for (size_t k = 0; k < jpeg::kBlockSize; ++k) {
    settings.custom_quantisers[k] = static_cast<uint8_t>(table[k]);
  }
  settings.has_custom_quantisers = true;
  return kOk;
}

}  // namespace tavo::compress
