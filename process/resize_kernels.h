// The loops that resample rows of whole bytes by shuffles; resize_steps.h makes their tables.
#pragma once

#include <cstdint>

namespace tavo::process {

// Bytes of result in one store, and of its shuffle.
inline constexpr uint32_t kResizeLanes = 16;
inline constexpr uint32_t kResizeLanesAvx512 = 64;

// One store of result, whose first `count` bytes hold: they come from the source at `offset`, each
// from where its shuffle says.
struct ResizeStep {
  uint32_t offset;
  uint32_t count;
};

// Handed over by value: what a row's bytes might overwrite would be read again for each store.
struct ResizeTable {
  const ResizeStep* steps = nullptr;
  const uint8_t* shuffles = nullptr;
  uint32_t count = 0;
  // The steps at the end of the table whose stores would reach beyond the result: they store no
  // more than they hold.
  uint32_t last = 0;
};

// Shrinks a row, from left to right; a shuffle chooses from twice as many bytes as a store has. A
// store reaches no further than the source that has been read: in place, what it overwrites is not
// wanted any more.
void shrink_ssse3(ResizeTable table, const uint8_t* from, uint8_t* to);
void shrink_avx512(ResizeTable table, const uint8_t* from, uint8_t* to);

// Enlarges a row, from right to left. `end` is that of the result.
void enlarge_ssse3(ResizeTable table, const uint8_t* from, uint8_t* end);

}  // namespace tavo::process
