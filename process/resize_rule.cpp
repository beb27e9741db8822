#include "process/resize_rule.h"

#include <algorithm>

namespace tavo::process {

void ResizeRule::set(int32_t from, int32_t to) {
  old_size = from;
  new_size = to;
  const int64_t old_wide = from;
  const int64_t ratio = int64_t{to} * 256 / old_wide;
  const int64_t scaled = ratio * old_wide >> 8;
  const int64_t rest = scaled % old_wide * 256;
  step = static_cast<int32_t>(scaled / old_wide);
  const int64_t fraction = rest / old_wide + (rest % old_wide > old_wide / 2 ? 1 : 0);
  extra.fill(0);
  if (fraction != 0) {
    // That many of the 256 positions, spread evenly.
    const int64_t distance = 65280 / fraction;
    for (int64_t k = 0; k < fraction; ++k) {
      const int64_t place = k * distance;
      extra[static_cast<size_t>((place >> 8) + ((place & 255) >= 128 ? 1 : 0))] = 1;
    }
  }
  // Enlarging, the work ends where the counter, which begins that far behind, would fall below 0.
  uint64_t most = static_cast<uint32_t>(to);
  if (to > from) most -= count(static_cast<uint32_t>(from - 1)) - 1;
  reached = static_cast<uint32_t>(std::min(total(static_cast<uint32_t>(from)), most));
}

uint64_t ResizeRule::total(uint32_t positions) const {
  const auto extras = [this](uint32_t first) {
    return static_cast<uint64_t>(std::count(extra.begin(), extra.begin() + first, 1));
  };
  return uint64_t{positions} * static_cast<uint32_t>(step) + positions / 256 * extras(256) +
         extras(positions % 256);
}

}  // namespace tavo::process
