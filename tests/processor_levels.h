// Runs a test as every kind of processor up to the machine's own, from plain loops on.
#pragma once

#include <vector>

#include "platform/platform.h"

namespace tavo::test {

inline std::vector<platform::Processor> processor_levels() {
  using enum platform::Processor;
  std::vector<platform::Processor> levels;
  for (const platform::Processor level : {kPlain, kSse2, kSsse3, kAvx2, kAvx512}) {
    if (level <= platform::processor()) levels.push_back(level);
  }
  return levels;
}

// Until it goes out of scope, nothing above is reported.
class LimitedProcessor {
 public:
  explicit LimitedProcessor(platform::Processor highest) { platform::limit_processor(highest); }
  LimitedProcessor(const LimitedProcessor&) = delete;
  LimitedProcessor& operator=(const LimitedProcessor&) = delete;
  ~LimitedProcessor() { platform::limit_processor(platform::Processor::kAvx512); }
};

}  // namespace tavo::test
