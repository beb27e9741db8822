// Rows of bytes cut into runs of equal bytes and what stands between them, for run-length codings.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/endian.h"

namespace tavo {

// Bytes from `at` on that equal the first one, eight at a time.
inline size_t run_length(const uint8_t* at, const uint8_t* end) {
  const uint64_t same = at[0] * uint64_t{0x0101010101010101};
  const uint8_t* next = at + 1;
  for (; end - next >= 8; next += 8) {
    const uint64_t other = load_le64(next) ^ same;
    if (other != 0) {
      return static_cast<size_t>(next - at) + static_cast<size_t>(std::countr_zero(other)) / 8;
    }
  }
  while (next < end && *next == *at) ++next;
  return static_cast<size_t>(next - at);
}

// Calls put.run(value, count) for runs of kLeast bytes and more, and of fewer that end the row;
// put.literals(bytes) for all that is between two of them.
template <size_t kLeast, class Put>
void cut_runs(std::span<const uint8_t> row, Put&& put) {
  const uint8_t* next = row.data();
  const uint8_t* const end = next + row.size();
  const auto begins_run = [end](const uint8_t* at) {
    if (end - at < static_cast<ptrdiff_t>(kLeast)) return false;
    for (size_t i = 1; i < kLeast; ++i) {
      if (at[i] != at[0]) return false;
    }
    return true;
  };
  while (next < end) {
    const size_t run = run_length(next, end);
    if (run >= kLeast || next + run == end) {
      put.run(*next, run);
      next += run;
      continue;
    }
    const uint8_t* stop = next + run;
    while (stop < end && !begins_run(stop)) ++stop;
    put.literals(std::span(next, stop));
    next = stop;
  }
}

}  // namespace tavo
