// Dithering of a 4096 x 3072 photograph: whole bitmaps and row by row, beside Pillow and swscale.
// Pillow runs in its own process and reports its processor time.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "color/palettes.h"
#include "dither/dither.h"
#include "photograph.h"
#include "pillow.h"
#include "run.h"
#include "tavo45.h"
#ifdef PEER_FFMPEG
extern "C" {
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}
#endif

namespace {

using bench::count_pixels;
using bench::kHeight;
using bench::kPixels;
using bench::kWidth;

// 216 colours of a cube and 40 greys, as in pillow.py.
std::vector<T_PaletteEntry> given_palette() {
  std::vector<T_PaletteEntry> palette;
  for (int i = 0; i < 216; ++i) {
    palette.push_back({static_cast<uint8_t>(i % 6 * 51), static_cast<uint8_t>(i / 6 % 6 * 51),
                       static_cast<uint8_t>(i / 36 * 51), 0});
  }
  for (int i = 0; i < 40; ++i) {
    const auto v = static_cast<uint8_t>(3 + 6 * i);
    palette.push_back({v, v, v, 0});
  }
  return palette;
}

struct Job {
  int32_t depth;  // 24 or 8
  uint32_t method;
  uint32_t colours;
  bool given;
};

void dither(benchmark::State& state, const Job& job, uint32_t batch) {
  BitmapHandle bitmap = {};
  T_InitBitmap(&bitmap, kWidth, kHeight, job.depth);
  bitmap.DitherMethod = job.method;
  bitmap.Order = T_ORDER_RGB;
  for (int i = 0; i < 256; ++i) {
    const auto v = static_cast<uint8_t>(i);
    bitmap.Info.Palette[i] = {v, v, v, 0};
  }
  const auto palette = given_palette();
  const uint8_t* rows =
      job.depth == 24 ? bench::photograph().data() : bench::gray_photograph().data();
  const size_t stride = size_t{kWidth} * static_cast<uint32_t>(job.depth) / 8;
  std::vector<uint8_t> out(kPixels);
  for (auto _ : state) {
    if (!tavo::color::start_pass(bitmap, job.given ? palette.data() : nullptr, job.colours, nullptr)
             .ok()) {
      state.SkipWithError("no pass");
      break;
    }
    for (uint32_t y = 0; y < kHeight; y += batch) {
      const auto status = tavo::color::dither_rows(bitmap, rows + y * stride, stride,
                                                   out.data() + size_t{y} * kWidth, kWidth, batch);
      if (!status.ok()) state.SkipWithError("no rows");
    }
    tavo::color::stop_pass(bitmap);
    benchmark::DoNotOptimize(out.data());
  }
  count_pixels(state);
}

void pillow(benchmark::State& state, const char* operation, int channels) {
  bench::run_pillow(state, operation,
                    channels == 3 ? bench::photograph() : bench::gray_photograph(), kWidth, kHeight,
                    channels);
  count_pixels(state);
}

#ifdef PEER_FFMPEG
void swscale(benchmark::State& state, AVPixelFormat from, AVPixelFormat to, const char* mode,
             bool is_gray) {
  SwsContext* context = sws_alloc_context();
  const auto set = [&](const char* name, int64_t value) {
    av_opt_set_int(context, name, value, 0);
  };
  set("srcw", kWidth);
  set("srch", kHeight);
  set("dstw", kWidth);
  set("dsth", kHeight);
  set("src_format", from);
  set("dst_format", to);
  av_opt_set(context, "sws_dither", mode, 0);
  set("sws_flags", SWS_POINT);
  if (sws_init_context(context, nullptr, nullptr) < 0) {
    state.SkipWithError("swscale");
    return;
  }
  const uint8_t* source = is_gray ? bench::gray_photograph().data() : bench::photograph().data();
  const uint8_t* planes[4] = {source};
  const int strides[4] = {is_gray ? kWidth : 3 * kWidth};
  std::vector<uint8_t> out(kPixels);
  uint8_t* targets[4] = {out.data()};
  const int target_strides[4] = {kWidth};
  for (auto _ : state) {
    sws_scale(context, planes, strides, 0, kHeight, targets, target_strides);
    benchmark::DoNotOptimize(out.data());
  }
  sws_freeContext(context);
  count_pixels(state);
}
#endif

constexpr uint32_t kWhole = 64;  // rows at a time, as in whole bitmaps

#define DITHER(name, ...)                                            \
  BENCHMARK_CAPTURE(dither, name##_whole, Job{__VA_ARGS__}, kWhole); \
  BENCHMARK_CAPTURE(dither, name##_row_by_row, Job{__VA_ARGS__}, 1)

DITHER(palette256_fs, 24, T_DITHER_FLOYD_STEINBERG, 256, true);
BENCHMARK_CAPTURE(pillow, palette256_fs, "palette", 3)->UseManualTime()->Iterations(1);
DITHER(rgb332_fs, 24, T_DITHER_FLOYD_STEINBERG, 256, false);
DITHER(gray1_fs, 8, T_DITHER_FLOYD_STEINBERG, 2, false);
BENCHMARK_CAPTURE(pillow, gray1_fs, "gray1", 1)->UseManualTime()->Iterations(1);
DITHER(rgb1_fs, 24, T_DITHER_FLOYD_STEINBERG, 2, false);
BENCHMARK_CAPTURE(pillow, rgb1_fs, "gray1", 3)->UseManualTime()->Iterations(1);
DITHER(sixteen_fs, 24, T_DITHER_FLOYD_STEINBERG, 16, false);
DITHER(palette256_stevenson, 24, T_DITHER_STEVENSON_ARCE, 256, true);
DITHER(palette256_jarvis, 24, T_DITHER_JARVIS, 256, true);
DITHER(rgb332_ordered, 24, T_DITHER_ORDERED, 256, false);
DITHER(rgb1_ordered, 24, T_DITHER_ORDERED, 2, false);
DITHER(gray1_ordered, 8, T_DITHER_ORDERED, 2, false);
DITHER(rgb332_none, 24, T_DITHER_NONE, 256, false);
DITHER(rgb1_none, 24, T_DITHER_NONE, 2, false);
DITHER(palette256_none, 24, T_DITHER_NONE, 256, true);
BENCHMARK_CAPTURE(pillow, palette256_none, "palette_none", 3)->UseManualTime()->Iterations(1);
DITHER(palette256_ordered, 24, T_DITHER_ORDERED, 256, true);
#ifdef PEER_FFMPEG
BENCHMARK_CAPTURE(swscale, rgb332_fs, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB8, "ed", false);
BENCHMARK_CAPTURE(swscale, rgb332_ordered, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB8, "bayer", false);
BENCHMARK_CAPTURE(swscale, rgb1_ordered, AV_PIX_FMT_RGB24, AV_PIX_FMT_MONOBLACK, "bayer", false);
BENCHMARK_CAPTURE(swscale, gray1_ordered, AV_PIX_FMT_GRAY8, AV_PIX_FMT_MONOBLACK, "bayer", true);
BENCHMARK_CAPTURE(swscale, rgb1_fs, AV_PIX_FMT_RGB24, AV_PIX_FMT_MONOBLACK, "ed", false);
#endif

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }
