// Processor features, the same on every system we build for.
#include "platform/platform.h"

namespace tavo::platform {

namespace {

Processor detect() {
  Processor found;
#if defined(__i386__) || defined(__x86_64__)
  __builtin_cpu_init();
  found.ssse3 = __builtin_cpu_supports("ssse3") != 0;
  found.sse41 = __builtin_cpu_supports("sse4.1") != 0;
  found.avx2 = __builtin_cpu_supports("avx2") != 0;
  found.bmi2 = __builtin_cpu_supports("bmi2") != 0;
  found.avx512_vbmi = __builtin_cpu_supports("avx512f") != 0 &&
                      __builtin_cpu_supports("avx512bw") != 0 &&
                      __builtin_cpu_supports("avx512vbmi") != 0;
#endif
  return found;
}

const Processor detected = detect();
Processor reported = detected;

}  // namespace

const Processor& processor() { return reported; }

void limit_processor(const Processor& allowed) {
  reported.ssse3 = detected.ssse3 && allowed.ssse3;
  reported.sse41 = detected.sse41 && allowed.sse41;
  reported.avx2 = detected.avx2 && allowed.avx2;
  reported.bmi2 = detected.bmi2 && allowed.bmi2;
  reported.avx512_vbmi = detected.avx512_vbmi && allowed.avx512_vbmi;
}

}  // namespace tavo::platform
