// Copies that leave the caches alone.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/vector_sse2.h"

namespace tavo {

// Results of this size and more have left the caches before anyone reads them again; written past
// the caches, their lines need not be fetched first. Smaller ones are worth keeping there.
inline constexpr size_t kStreamedBytes = size_t{64} << 20;

inline constexpr size_t kStreamedLine = 64;

// Of `count` bytes from `to` on, those in cache lines that do not go on behind them.
inline size_t whole_lines(const uint8_t* to, size_t count) {
  return count - std::min(count, reinterpret_cast<uintptr_t>(to + count) % kStreamedLine);
}

// memcpy, whole cache lines past the caches. stream_fence() makes the result visible to other
// threads.
inline void stream_copy(uint8_t* to, const uint8_t* from, size_t bytes) {
  const size_t ahead = (0 - reinterpret_cast<uintptr_t>(to)) % kStreamedLine;
  const size_t head = std::min(ahead, bytes);
  std::memcpy(to, from, head);
  size_t done = head;
  for (; done + kStreamedLine <= bytes; done += kStreamedLine) {
    for (size_t at = done; at < done + kStreamedLine; at += sse2::kBytes) {
      sse2::stream(to + at, sse2::load(from + at));
    }
  }
  std::memcpy(to + done, from + done, bytes - done);
}

inline void stream_fence() { _mm_sfence(); }

}  // namespace tavo
