// Processor features, the same on every system we build for.
#include <algorithm>

#include "platform/platform.h"

namespace tavo::platform {

namespace {

// __builtin_cpu_supports takes nothing but literals, and knows what the system saves.
Processor detect() {
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("ssse3")) return Processor::kSse2;
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") ||
      !__builtin_cpu_supports("bmi2") || !__builtin_cpu_supports("pclmul")) {
    return Processor::kSsse3;
  }
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
      !__builtin_cpu_supports("avx512vbmi")) {
    return Processor::kAvx2;
  }
  return Processor::kAvx512;
}

const Processor detected = detect();
Processor reported = detected;

}  // namespace

Processor processor() { return reported; }

void limit_processor(Processor highest) { reported = std::min(detected, highest); }

}  // namespace tavo::platform
