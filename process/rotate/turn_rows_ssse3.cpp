#include "base/vector_ssse3.h"
#include "process/rotate/turn_rows.h"

TAVO_FOR_SSSE3

namespace tavo::process {

using namespace ssse3;

// Five pixels at a time, while there is one behind them to read a byte of. What a store takes along
// the next one puts right. Reading goes upwards, and so on into the next row, which is fetched
// ahead.
void mirror_triples_ssse3(const uint8_t* row, uint8_t* out, size_t width) {
  static constexpr uint8_t kOrder[16] = {0x80, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2};
  const V order = load(kOrder);
  size_t left = width;
  for (; left > 5; left -= 5, row += 15) {
    store(out + 3 * (left - 5) - 1, shuffle8(load(row), order));
  }
  mirror_triples_plain(row, out, left);
}

}  // namespace tavo::process

TAVO_END
