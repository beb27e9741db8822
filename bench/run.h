// What every benchmark program does, and the option --processor=plain|sse2|ssse3|avx2|avx512: no
// more than that is used, by the library and by those peers that can be told.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/platform.h"

#ifdef PEER_FFMPEG
extern "C" {
#include <libavutil/cpu.h>
}
#endif
#ifdef PEER_YUV
#include <libyuv.h>
#endif

namespace bench {

inline void limit_all(tavo::platform::Processor highest) {
  using enum tavo::platform::Processor;
  tavo::platform::limit_processor(highest);
  if (highest == kAvx512) return;
#ifdef PEER_YUV
  int yuv = libyuv::kCpuHasX86;
  if (highest >= kSse2) yuv |= libyuv::kCpuHasSSE2;
  if (highest >= kSsse3) yuv |= libyuv::kCpuHasSSSE3;
  if (highest >= kAvx2) yuv |= libyuv::kCpuHasSSE41 | libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2;
  libyuv::MaskCpuFlags(yuv);
#endif
#ifdef PEER_FFMPEG
  int ffmpeg = 0;
  if (highest >= kSse2) {
    ffmpeg |= AV_CPU_FLAG_MMX | AV_CPU_FLAG_MMXEXT | AV_CPU_FLAG_SSE | AV_CPU_FLAG_SSE2;
  }
  if (highest >= kSsse3) ffmpeg |= AV_CPU_FLAG_SSE3 | AV_CPU_FLAG_SSSE3;
  if (highest >= kAvx2) {
    ffmpeg |= AV_CPU_FLAG_SSE4 | AV_CPU_FLAG_SSE42 | AV_CPU_FLAG_AVX | AV_CPU_FLAG_AVX2;
  }
  av_force_cpu_flags(ffmpeg);
#endif
}

inline void choose_processor(int& argc, char** argv) {
  constexpr std::string_view kOption = "--processor=";
  constexpr std::string_view kNames[] = {"plain", "sse2", "ssse3", "avx2", "avx512"};
  char** const option = std::find_if(argv + 1, argv + argc, [=](std::string_view argument) {
    return argument.starts_with(kOption);
  });
  if (option == argv + argc) return;
  const auto* const name =
      std::ranges::find(kNames, std::string_view(*option).substr(kOption.size()));
  if (name == std::end(kNames)) {
    std::fprintf(stderr, "%s: no such processor\n", *option);
    std::exit(1);
  }
  limit_all(static_cast<tavo::platform::Processor>(name - kNames));
  std::copy(option + 1, argv + argc, option);
  --argc;
}

inline int run(int argc, char** argv) {
  choose_processor(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace bench
