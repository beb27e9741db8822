// Code that has been compiled for several processors, and which of it to run.
#pragma once

#include "platform/platform.h"

namespace tavo {

// `Code` is a pointer to a function or to a table of functions. Null: nothing for that processor
// that a lesser one does not do as well.
template <class Code>
struct Variants {
  Code any = nullptr;  // plain, or SSE2 where nothing is plain
  Code sse2 = nullptr;
  Code ssse3 = nullptr;
  Code avx2 = nullptr;
  Code avx512 = nullptr;

  Code best() const {
    using enum platform::Processor;
    const platform::Processor processor = platform::processor();
    if (avx512 != nullptr && processor >= kAvx512) return avx512;
    if (avx2 != nullptr && processor >= kAvx2) return avx2;
    if (ssse3 != nullptr && processor >= kSsse3) return ssse3;
    if (sse2 != nullptr && processor >= kSse2) return sse2;
    return any;
  }
};

}  // namespace tavo
