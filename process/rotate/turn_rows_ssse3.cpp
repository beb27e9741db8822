#include "base/vector_ssse3.h"
#include "process/rotate/turn_rows.h"

TAVO_FOR_SSSE3

namespace tavo::process {

using namespace ssse3;

// Five pixels at a time, while there is one before them to read a byte of.
void mirror_triples_ssse3(const uint8_t* row, uint8_t* out, size_t width) {
  static constexpr uint8_t kOrder[16] = {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0x80};
  const V order = load(kOrder);
  size_t left = width;
  for (; left > 5; left -= 5, out += 15) {
    store(out, shuffle8(load(row + 3 * (left - 5) - 1), order));
  }
  mirror_triples_plain(row, out, left);
}

}  // namespace tavo::process

TAVO_END
