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

// memcpy, whole cache lines past the caches. stream_fence() makes the result visible to other
// threads.
inline void stream_copy(uint8_t* to, const uint8_t* from, size_t bytes) {
  constexpr size_t kLine = 64;
  const size_t head = std::min((kLine - reinterpret_cast<uintptr_t>(to) % kLine) % kLine, bytes);
  std::memcpy(to, from, head);
  size_t done = head;
  for (; done + kLine <= bytes; done += kLine) {
    for (size_t at = done; at < done + kLine; at += sse2::kBytes) {
      sse2::stream(to + at, sse2::load(from + at));
    }
  }
  std::memcpy(to + done, from + done, bytes - done);
}

inline void stream_fence() { _mm_sfence(); }

}  // namespace tavo
