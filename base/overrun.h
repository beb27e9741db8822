// Short runs and pieces in steps of one vector: up to kOverrun bytes behind their end are read or
// written, too. A few bytes are the common case, for which a call costs more than the work.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/vector_sse2.h"

namespace tavo {

inline constexpr size_t kOverrun = sse2::kBytes;

inline void fill_over(uint8_t* to, uint8_t value, size_t count) {
  const sse2::V all = sse2::splat8(value);
  sse2::store(to, all);
  for (size_t done = kOverrun; done < count; done += kOverrun) sse2::store(to + done, all);
}

inline void copy_over(uint8_t* to, const uint8_t* from, size_t count) {
  sse2::store(to, sse2::load(from));
  for (size_t done = kOverrun; done < count; done += kOverrun) {
    sse2::store(to + done, sse2::load(from + done));
  }
}

}  // namespace tavo
