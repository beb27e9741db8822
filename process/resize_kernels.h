// The loops that resample rows of whole bytes; resize_steps.h makes their tables.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::process {

// Bytes of result that one shuffle makes.
inline constexpr uint32_t kResizeLanes = 16;
inline constexpr uint32_t kResizeLanesAvx512 = 64;

// One shuffle: `count` of the bytes that it makes hold, the first ones when a row shrinks. They
// come from the source at `offset` or behind it, shrinking from twice as many bytes as a shuffle
// makes.
struct ResizeStep {
  uint32_t offset;
  uint16_t count;
  // On the first step of a pair of 16 lanes: not 0 where the pair keeps every second pixel, of so
  // many bytes, from the first of its window on.
  uint16_t halved_bytes;
};

// Handed over by value: what a row's bytes might overwrite would be read again for each step.
//
// The first `whole` steps, an even number, store full vectors. There are `cycle` of them in the
// table: after those they begin anew, `cycle_bytes` further on in the source (enlarging: further
// back). Their shuffles lie as the kernels take them: of 64 lanes one after another; of 16 by pairs
// of steps, shrinking those for the first half of the window first, enlarging the second step's
// first. In the first half of the others a top bit is set where the byte comes from the second
// half, and the reverse.
//
// The other steps, behind the cycle in the table, end the row. They store no more than they hold,
// and their shuffles are plain indices.
struct ResizeTable {
  const ResizeStep* steps = nullptr;
  const uint8_t* shuffles = nullptr;
  uint32_t cycle = 0;
  uint32_t cycle_bytes = 0;
  uint32_t whole = 0;
  size_t ahead = 0;       // shrinking, from this row of the source to the next that is wanted
  bool are_full = false;  // whether all bytes that the steps of the cycle make hold
  const uint8_t* last_shuffles = nullptr;
  uint32_t last = 0;
};

// `to` is where the result begins (shrinking, from left to right) or ends (enlarging, from right to
// left). Shrinking, a store reaches no further than the source that has been read: in place, what
// it overwrites is not wanted any more.
using ResizeKernel = void (*)(ResizeTable table, const uint8_t* from, uint8_t* to);
struct ResizeKernels {
  uint32_t lanes;
  ResizeKernel shrink;
  ResizeKernel enlarge;
  // The steps of a piece of the cycle, which lies `cycle_bytes` back, last one first: from left to
  // right, which memory likes best. Not in place.
  ResizeKernel enlarge_forward;
};
extern const ResizeKernels kResizeSsse3;
extern const ResizeKernels kResizeAvx2;
extern const ResizeKernels kResizeAvx512;

}  // namespace tavo::process
