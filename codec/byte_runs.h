// Rows of bytes cut into runs of equal bytes and what stands between them, for run-length codings.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/endian.h"
#include "base/vector_sse2.h"

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

// Where from `at` on the first kLeast equal bytes begin, or `end`. 16 places at a time.
template <size_t kLeast>
const uint8_t* find_run(const uint8_t* at, const uint8_t* end) {
  for (; end - at >= static_cast<ptrdiff_t>(16 + kLeast - 1); at += 16) {
    const sse2::V first = sse2::load(at);
    sse2::V begins = sse2::equal8(first, sse2::load(at + 1));
    for (size_t i = 2; i < kLeast; ++i) begins &= sse2::equal8(first, sse2::load(at + i));
    const uint32_t places = sse2::top_bits8(begins);
    if (places != 0) return at + std::countr_zero(places);
  }
  for (; end - at >= static_cast<ptrdiff_t>(kLeast); ++at) {
    if (std::all_of(at + 1, at + kLeast, [at](uint8_t byte) { return byte == *at; })) return at;
  }
  return end;
}

// Calls put.run(value, count) for runs of kLeast bytes and more, and of fewer that end the row;
// put.literals(bytes) for all that is between two of them.
template <size_t kLeast, class Put>
void cut_runs(std::span<const uint8_t> row, Put&& put) {
  const uint8_t* next = row.data();
  const uint8_t* const end = next + row.size();
  while (next < end) {
    const size_t run = run_length(next, end);
    if (run >= kLeast || next + run == end) {
      put.run(*next, run);
      next += run;
      continue;
    }
    const uint8_t* const stop = find_run<kLeast>(next + run, end);
    put.literals(std::span(next, stop));
    next = stop;
  }
}

}  // namespace tavo
