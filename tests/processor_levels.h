// Runs a test on every processor level that the machine has.
#pragma once

#include <vector>

#include "platform/platform.h"

namespace tavo::test {

inline std::vector<platform::Processor> processor_levels() {
  const platform::Processor full = {.ssse3 = true, .sse41 = true, .avx2 = true, .bmi2 = true};
  return {{}, {.ssse3 = true}, {.ssse3 = true, .sse41 = true}, full};
}

// Until it goes out of scope, only these features are reported.
class LimitedProcessor {
 public:
  explicit LimitedProcessor(const platform::Processor& allowed) {
    platform::limit_processor(allowed);
  }
  LimitedProcessor(const LimitedProcessor&) = delete;
  LimitedProcessor& operator=(const LimitedProcessor&) = delete;
  ~LimitedProcessor() {
    platform::limit_processor({.ssse3 = true, .sse41 = true, .avx2 = true, .bmi2 = true});
  }
};

}  // namespace tavo::test
