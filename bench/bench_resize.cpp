// Nearest-neighbour resizing of 4096 x 3072 pictures to half, one and a half times and twice the
// size, beside OpenCV, libyuv and Pillow. Figures count pixels of the result. Every result lies in
// memory that was there before the first turn, and has lines as wide as the picture; only Pillow,
// which runs in a process of its own, makes its result anew. Compare Bitmap and Libyuv with
// --benchmark_enable_random_interleaving=true: at half size both run at the speed of memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "pillow.h"
#include "platform/platform.h"
#include "tavo45.h"

#ifdef PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef PEER_YUV
#include <libyuv.h>
#endif

namespace {

constexpr int32_t kWidth = 4096;
constexpr int32_t kHeight = 3072;

// Bits, and the new size in halves of the old one.
void sizes(benchmark::internal::Benchmark* bench) {
  for (const int bits : {8, 24, 32}) {
    for (const int halves : {1, 3, 4}) bench->Args({bits, halves});
  }
}

struct Size {
  explicit Size(const benchmark::State& state)
      : bits(static_cast<int32_t>(state.range(0))),
        width(static_cast<int32_t>(kWidth * state.range(1) / 2)),
        height(static_cast<int32_t>(kHeight * state.range(1) / 2)) {}
  int32_t bits, width, height;
};

std::vector<uint8_t> noise(int32_t bits) {
  std::vector<uint8_t> bytes(size_t{kWidth} * kHeight * static_cast<size_t>(bits / 8));
  uint32_t state = 1;
  for (uint8_t& byte : bytes)
    byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
  return bytes;
}

void count(benchmark::State& state, const Size& size) {
  state.SetItemsProcessed(state.iterations() * int64_t{size.width} * size.height);
}

using tavo::platform::Processor;

// As `sizes`, half the size on lesser processors too.
void sizes_and_processors(benchmark::internal::Benchmark* bench) {
  for (const int bits : {8, 24, 32}) {
    for (const Processor processor : {Processor::kAvx512, Processor::kSsse3, Processor::kSse2}) {
      for (const int halves : {1, 3, 4}) {
        if (halves == 4 && processor != Processor::kAvx512) continue;
        bench->Args({bits, halves, static_cast<int>(processor)});
      }
    }
  }
}

// What a processor can do, for us and for libyuv alike.
void limit_processor(const benchmark::State& state) {
  const auto processor = static_cast<Processor>(state.range(2));
  tavo::platform::limit_processor(processor);
#ifdef PEER_YUV
  const int sse2 = libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2;
  libyuv::MaskCpuFlags(processor == Processor::kAvx512  ? -1
                       : processor == Processor::kSsse3 ? sse2 | libyuv::kCpuHasSSSE3
                                                        : sse2);
#endif
}

void Bitmap(benchmark::State& state) {
  const Size size(state);
  limit_processor(state);
  BitmapHandle from = {}, to = {};
  T_InitBitmap(&from, kWidth, kHeight, size.bits);
  T_AllocateBitmap(&from, 1);
  T_InitBitmap(&to, size.width, size.height, size.bits);
  T_AllocateBitmap(&to, 1);
  const std::vector<uint8_t> pixels = noise(size.bits);
  T_AccessBitmap(&from);
  T_ClearBitmap(&to);  // its pages are there, as those of the peers' results are
  T_AccessBitmap(&to);
  T_PutBitmapRow(&from, pixels.data(), 0, static_cast<uint32_t>(pixels.size()));
  for (auto _ : state) T_ResizeBitmap(&from, &to);
  T_FreeBitmap(&from);
  T_FreeBitmap(&to);
  count(state, size);
}
BENCHMARK(Bitmap)->Apply(sizes_and_processors);

// Row by row through the streaming calls, from a picture into a row buffer that is emitted.
void Rows(benchmark::State& state) {
  const Size size(state);
  limit_processor(state);
  const std::vector<uint8_t> pixels = noise(size.bits);
  const size_t old_line = pixels.size() / kHeight;
  const size_t new_line = static_cast<size_t>(size.width) * static_cast<size_t>(size.bits / 8);
  std::vector<uint8_t> row(std::max(old_line, new_line));
  std::vector<uint8_t> result(new_line * static_cast<size_t>(size.height));
  T_ResizeBlock* block = nullptr;
  T_StartResize(kWidth, kHeight, size.width, size.height, &block);
  for (auto _ : state) {
    int32_t out = 0;
    for (int32_t y = 0; y < kHeight; ++y) {
      std::copy_n(pixels.data() + static_cast<size_t>(y) * old_line, old_line, row.data());
      int32_t width = 0, rows = 0;
      T_Resize(row.data(), static_cast<uint32_t>(y), size.bits, &width, &rows, block);
      for (; rows > 0 && out < size.height; --rows, ++out) {
        std::copy_n(row.data(), new_line, result.data() + static_cast<size_t>(out) * new_line);
      }
    }
  }
  T_StopResize(block);
  count(state, size);
}
BENCHMARK(Rows)->Apply(sizes_and_processors);

#ifdef PEER_OPENCV
void OpenCv(benchmark::State& state) {
  const Size size(state);
  std::vector<uint8_t> pixels = noise(size.bits);
  cv::setNumThreads(1);
  const cv::Mat from(kHeight, kWidth, CV_8UC(size.bits / 8), pixels.data());
  cv::Mat to(size.height, size.width, CV_8UC(size.bits / 8));
  for (auto _ : state) cv::resize(from, to, to.size(), 0, 0, cv::INTER_NEAREST);
  count(state, size);
}
BENCHMARK(OpenCv)->Apply(sizes);
#endif

#ifdef PEER_YUV
void Libyuv(benchmark::State& state) {
  const Size size(state);
  if (size.bits == 24) {
    state.SkipWithError("libyuv resizes no 24-bit pictures by nearest neighbour");
    return;
  }
  limit_processor(state);
  const std::vector<uint8_t> pixels = noise(size.bits);
  std::vector<uint8_t> result(size_t{4} * static_cast<size_t>(size.width) *
                              static_cast<size_t>(size.height));
  for (auto _ : state) {
    if (size.bits == 8) {
      libyuv::ScalePlane(pixels.data(), kWidth, kWidth, kHeight, result.data(), size.width,
                         size.width, size.height, libyuv::kFilterNone);
    } else {
      libyuv::ARGBScale(pixels.data(), kWidth * 4, kWidth, kHeight, result.data(), size.width * 4,
                        size.width, size.height, libyuv::kFilterNone);
    }
  }
  count(state, size);
}
BENCHMARK(Libyuv)->Apply(sizes_and_processors);
#endif

void Pillow(benchmark::State& state) {
  const Size size(state);
  bench::run_pillow(state, "resize" + std::to_string(state.range(1)), noise(size.bits), kWidth,
                    kHeight, size.bits / 8);
  count(state, size);
}
BENCHMARK(Pillow)->Apply(sizes)->UseManualTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
