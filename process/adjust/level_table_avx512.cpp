#include "base/vector_avx512.h"
#include "process/adjust/level_table.h"

TAVO_FOR_AVX512

namespace tavo::process {

using namespace avx512;

// A permutation looks up 128 entries; the key's top bit, which it does not see, chooses the half.
void map_levels_avx512(const LevelTable& table, uint8_t* bytes, size_t count) {
  const V a = load(table.data()), b = load(table.data() + kBytes);
  const V c = load(table.data() + 2 * kBytes), d = load(table.data() + 3 * kBytes);
  size_t i = 0;
  for (; i + kBytes <= count; i += kBytes) {
    const V keys = load(bytes + i);
    store(bytes + i, select_by_top8(keys, permute8(c, d, keys), permute8(a, b, keys)));
  }
  map_levels_plain(table, bytes + i, count - i);
}

}  // namespace tavo::process

TAVO_END
