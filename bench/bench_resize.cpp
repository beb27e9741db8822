// Nearest-neighbour resizing of 4096 x 3072 pictures to half, one and a half times and twice the
// size, beside OpenCV, libyuv, Leptonica and Pillow. Figures count pixels of the result. Every
// result lies in memory that was there before the first turn, and has lines as wide as the picture;
// only Pillow, which runs in a process of its own, makes its result anew, and Leptonica, whose
// memory is that of the turn before. Compare Bitmap and Libyuv with
// --benchmark_enable_random_interleaving=true: at half size both run at the speed of memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "pillow.h"
#include "raster_peers.h"
#include "run.h"
#include "tavo45.h"

#ifdef PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef PEER_YUV
#include <libyuv.h>
#endif
#ifdef PEER_LEPTONICA
#include <leptonica/allheaders.h>
#include <malloc.h>
#endif

namespace {

constexpr int32_t kWidth = 4096;
constexpr int32_t kHeight = 3072;

// Bits, and the new size in halves of the old one.
void sizes(benchmark::internal::Benchmark* bench) {
  for (const int bits : {1, 4, 8, 24, 32}) {
    for (const int halves : {1, 3, 4}) bench->Args({bits, halves});
  }
}

// Those of whole bytes.
void byte_sizes(benchmark::internal::Benchmark* bench) {
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

size_t line_bytes(int32_t width, int32_t bits) {
  return static_cast<size_t>(width) * static_cast<size_t>(bits) / 8;
}

// Noise, or for less than 8 bits a page of text: how often a bit is set counts for Leptonica.
std::vector<uint8_t> picture(int32_t bits) {
  std::vector<uint8_t> bytes(line_bytes(kWidth, bits) * kHeight);
  if (bits < 8) {
    const auto levels = bench::text_indices(kWidth, kHeight);
    const auto per_byte = static_cast<size_t>(8 / bits);
    for (size_t i = 0; i < levels.size(); ++i) {
      const uint32_t ink = (255u - levels[i]) >> (8 - bits);
      bytes[i / per_byte] = static_cast<uint8_t>(bytes[i / per_byte] << bits | ink);
    }
    return bytes;
  }
  uint32_t state = 1;
  for (uint8_t& byte : bytes)
    byte = static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
  return bytes;
}

void count(benchmark::State& state, const Size& size) {
  state.SetItemsProcessed(state.iterations() * int64_t{size.width} * size.height);
}

void Bitmap(benchmark::State& state) {
  const Size size(state);
  BitmapHandle from = {}, to = {};
  T_InitBitmap(&from, kWidth, kHeight, size.bits);
  T_AllocateBitmap(&from, 1);
  T_InitBitmap(&to, size.width, size.height, size.bits);
  T_AllocateBitmap(&to, 1);
  const std::vector<uint8_t> pixels = picture(size.bits);
  T_AccessBitmap(&from);
  T_ClearBitmap(&to);  // its pages are there, as those of the peers' results are
  T_AccessBitmap(&to);
  T_PutBitmapRow(&from, pixels.data(), 0, static_cast<uint32_t>(pixels.size()));
  for (auto _ : state) T_ResizeBitmap(&from, &to);
  T_FreeBitmap(&from);
  T_FreeBitmap(&to);
  count(state, size);
}
BENCHMARK(Bitmap)->Apply(sizes);

// Row by row through the streaming calls, from a picture into a row buffer that is emitted.
void Rows(benchmark::State& state) {
  const Size size(state);
  const std::vector<uint8_t> pixels = picture(size.bits);
  const size_t old_line = line_bytes(kWidth, size.bits);
  const size_t new_line = line_bytes(size.width, size.bits);
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
BENCHMARK(Rows)->Apply(sizes);

#ifdef PEER_OPENCV
void OpenCv(benchmark::State& state) {
  const Size size(state);
  std::vector<uint8_t> pixels = picture(size.bits);
  cv::setNumThreads(1);
  const cv::Mat from(kHeight, kWidth, CV_8UC(size.bits / 8), pixels.data());
  cv::Mat to(size.height, size.width, CV_8UC(size.bits / 8));
  for (auto _ : state) cv::resize(from, to, to.size(), 0, 0, cv::INTER_NEAREST);
  count(state, size);
}
BENCHMARK(OpenCv)->Apply(byte_sizes);
#endif

#ifdef PEER_YUV
void Libyuv(benchmark::State& state) {
  const Size size(state);
  if (size.bits == 24) {
    state.SkipWithError("libyuv resizes no 24-bit pictures by nearest neighbour");
    return;
  }
  const std::vector<uint8_t> pixels = picture(size.bits);
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
BENCHMARK(Libyuv)->Apply(byte_sizes);
#endif

#ifdef PEER_LEPTONICA
// Its words have the leftmost pixel in their high bits, which says nothing about their speed.
void Leptonica(benchmark::State& state) {
  const Size size(state);
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
  const std::vector<uint8_t> pixels = picture(size.bits);
  Pix* const from = pixCreate(kWidth, kHeight, size.bits);
  std::copy(pixels.begin(), pixels.end(), reinterpret_cast<uint8_t*>(pixGetData(from)));
  const auto scale = static_cast<float>(state.range(1)) / 2;
  for (auto _ : state) {
    Pix* to = size.bits == 1 ? pixScaleBinary(from, scale, scale)
                             : pixScaleBySampling(from, scale, scale);
    if (to == nullptr || pixGetWidth(to) != size.width) state.SkipWithError("Leptonica");
    pixDestroy(&to);
  }
  Pix* gone = from;
  pixDestroy(&gone);
  mallopt(M_MMAP_MAX, 65536);  // the others' pictures are the system's own blocks again
  mallopt(M_TRIM_THRESHOLD, 128 * 1024);
  count(state, size);
}
BENCHMARK(Leptonica)->Args({1, 1})->Args({1, 3})->Args({1, 4})->Args({4, 1})->Args({4, 3})->Args(
    {4, 4});
#endif

void Pillow(benchmark::State& state) {
  const Size size(state);
  bench::run_pillow(state, "resize" + std::to_string(state.range(1)), picture(size.bits), kWidth,
                    kHeight, size.bits / 8);
  count(state, size);
}
BENCHMARK(Pillow)->Apply(byte_sizes)->UseManualTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }
