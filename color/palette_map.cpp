#include "color/palette_map.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "color/palettes.h"

namespace tavo::color {

namespace {

std::span<const T_PaletteEntry> entries_of(const T_PaletteEntry* palette, uint32_t count) {
  count = std::min(count, 256u);
  if (palette != nullptr) return {palette, count};
  return builtin_palette(count <= 2 ? 1 : count <= 16 ? 4 : 8).first(count);
}

}  // namespace

bool map_palette(const T_PaletteEntry* from, uint32_t from_count, const T_PaletteEntry* to,
                 uint32_t to_count, IndexTable table, NearestColor& nearest) {
  const auto source = entries_of(from, from_count);
  const auto target = entries_of(to, to_count);
  std::iota(table.begin(), table.end(), static_cast<uint8_t>(0));
  if (source.size() <= target.size() &&
      std::memcmp(source.data(), target.data(), source.size_bytes()) == 0) {
    return true;
  }
  std::ranges::fill(table, static_cast<uint8_t>(0));
  if (target.empty()) return false;
  if (!nearest.is_for(target)) nearest.start(target);
  bool is_identity = true;
  for (uint32_t i = 0; i < source.size(); ++i) {
    const T_PaletteEntry& entry = source[i];
    table[i] = static_cast<uint8_t>(nearest.find(entry.Red, entry.Green, entry.Blue));
    is_identity = is_identity && table[i] == i;
  }
  return is_identity;
}

}  // namespace tavo::color
