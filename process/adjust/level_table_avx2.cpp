#include "base/vector_avx2.h"
#include "process/adjust/level_table.h"

TAVO_FOR_AVX2

namespace tavo::process {

using namespace avx2;

// A shuffle looks up sixteen entries, and gives 0 where its key has the top bit: for all sixteen
// parts of the table, keys that belong to another are brought there.
void map_levels_avx2(const LevelTable& table, uint8_t* bytes, size_t count) {
  V parts[16];
  for (size_t i = 0; i < 16; ++i) parts[i] = load_repeated(table.data() + 16 * i);
  size_t i = 0;
  for (; i + kBytes <= count; i += kBytes) {
    V key = load(bytes + i);
    V found = {};
    for (const V part : parts) {
      found |= shuffle8(part, add8_clamped(key, splat8(0x70)));
      key = sub8(key, splat8(16));
    }
    store(bytes + i, found);
  }
  map_levels_plain(table, bytes + i, count - i);
}

}  // namespace tavo::process

TAVO_END
