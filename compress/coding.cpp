#include "compress/coding.h"

#include <algorithm>

#include "base/settings.h"

namespace tavo::compress {

namespace {

constexpr int32_t kMaxFactor = 255;

struct Preset {
  int32_t value;
  bool is_half_height;
  uint32_t horizontal;
  uint32_t vertical;
};
// Factors -1 to -9.
constexpr Preset kPresets[] = {
    {5, false, 1, 1},  {5, false, 2, 1}, {15, false, 2, 1}, {30, false, 2, 1}, {45, false, 2, 2},
    {90, false, 2, 2}, {55, true, 2, 1}, {93, true, 2, 1},  {93, true, 2, 1},
};

// The ranges of the library's own format.
Preset cmp_preset(int32_t factor) {
  if (factor < 0) return kPresets[-factor - 1];
  if (factor > 100) return {factor / 2, true, 2, 1};
  const int32_t value = factor + 6;
  if (value < 14) return {value, false, 1, 1};
  if (value >= 55 && value <= 100) return {value, false, 2, 2};
  return {value, false, 2, 1};
}

Preset jpeg_preset(int32_t output_type, int32_t factor) {
  const bool is_reduced = output_type > 2;
  const bool is_quarter = output_type == 3 || output_type == 4;
  return {factor, false, is_reduced ? 2u : 1u, is_quarter ? 2u : 1u};
}

jpeg::QuantiserTable scale_table(const std::array<uint8_t, jpeg::kBlockSize>& base, int32_t value) {
  jpeg::QuantiserTable table;
  for (size_t k = 0; k < table.size(); ++k) {
    const int32_t entry = base[jpeg::kZigzag[k]] * value / 50;
    table[k] = static_cast<uint8_t>(entry < 3 ? 2 : std::min(entry, 255));
  }
  return table;
}

}  // namespace

Status choose_coding(int32_t output_type, int32_t factor, bool is_gray, Coding& coding) {
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
