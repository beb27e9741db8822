// Reduction of a 4096 x 3072 photograph to an optimised palette of 256: beside FreeImage's Wu
// quantiser without dithering, and libjpeg-turbo's two-pass quantiser with it. The latter works on
// the rows of a JPEG file while it decodes; the plain decode is timed apart, to be taken off. Fine
// palettes stand beside libimagequant at speed 3, the first that its manual recommends for quality.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "photograph.h"
#include "run.h"
#include "tavo45.h"
#ifdef PEER_FREEIMAGE
#include <FreeImage.h>
#endif
#ifdef PEER_IMAGEQUANT
#include <libimagequant.h>
#endif
#ifdef PEER_JPEG
#include <jpeglib.h>
#endif

namespace {

using bench::count_pixels;
using bench::kHeight;
using bench::kPixels;
using bench::kWidth;

void optimize(benchmark::State& state, const std::vector<uint8_t>& rgb, uint32_t method) {
  BitmapHandle source = {};
  T_InitBitmap(&source, kWidth, kHeight, 24);
  source.Order = T_ORDER_RGB;
  T_AllocateBitmap(&source, 1);
  T_AccessBitmap(&source);
  std::memcpy(source.Data, rgb.data(), rgb.size());
  T_DefaultDithering(method);
  for (auto _ : state) {
    BitmapHandle reduced = {};
    if (T_OptimizeBitmap(&source, &reduced, 0, 256) != T_OK) state.SkipWithError("failed");
    T_FreeBitmap(&reduced);
  }
  T_FreeBitmap(&source);
  count_pixels(state);
}

// The bitmap is reduced in its own record, so each turn has a copy, made outside of the time.
void fine(benchmark::State& state, uint32_t method) {
  for (auto _ : state) {
    state.PauseTiming();
    BitmapHandle bitmap = {};
    T_InitBitmap(&bitmap, kWidth, kHeight, 24);
    bitmap.Order = T_ORDER_RGB;
    bitmap.DitherMethod = method;
    T_AllocateBitmap(&bitmap, 1);
    T_AccessBitmap(&bitmap);
    std::memcpy(bitmap.Data, bench::photograph().data(), 3 * kPixels);
    state.ResumeTiming();
    if (T_ColorResolution(&bitmap, 8, T_PALETTE_FINE, nullptr,
                          static_cast<uint32_t>(state.range(0))) != T_OK) {
      state.SkipWithError("failed");
    }
    state.PauseTiming();
    T_FreeBitmap(&bitmap);
    state.ResumeTiming();
  }
  count_pixels(state);
}

#ifdef PEER_IMAGEQUANT
// On one thread when the program is run with OMP_NUM_THREADS=1, as scripts/bench does.
void imagequant(benchmark::State& state, float dithering) {
  std::vector<uint8_t> rgba(4 * kPixels, 255);
  for (size_t i = 0; i < kPixels; ++i) {
    std::memcpy(&rgba[4 * i], &bench::photograph()[3 * i], 3);
  }
  std::vector<uint8_t> indices(kPixels);
  for (auto _ : state) {
    liq_attr* attributes = liq_attr_create();
    liq_set_speed(attributes, 3);
    liq_set_max_colors(attributes, static_cast<int>(state.range(0)));
    liq_image* image = liq_image_create_rgba(attributes, rgba.data(), kWidth, kHeight, 0);
    liq_result* result = nullptr;
    if (liq_image_quantize(image, attributes, &result) != LIQ_OK) {
      state.SkipWithError("failed");
      break;
    }
    liq_set_dithering_level(result, dithering);
    liq_write_remapped_image(result, image, indices.data(), indices.size());
    liq_result_destroy(result);
    liq_image_destroy(image);
    liq_attr_destroy(attributes);
  }
  count_pixels(state);
}
#endif

#ifdef PEER_FREEIMAGE
void freeimage_wu(benchmark::State& state) {
  FIBITMAP* source = FreeImage_Allocate(kWidth, kHeight, 24);
  for (int y = 0; y < kHeight; ++y) {
    uint8_t* row = FreeImage_GetScanLine(source, y);
    const uint8_t* from = bench::photograph().data() + size_t{3} * kWidth * static_cast<size_t>(y);
    for (int x = 0; x < kWidth; ++x) {
      for (int c = 0; c < 3; ++c) row[3 * x + 2 - c] = from[3 * x + c];
    }
  }
  for (auto _ : state) {
    FIBITMAP* reduced = FreeImage_ColorQuantize(source, FIQ_WUQUANT);
    if (reduced == nullptr) state.SkipWithError("failed");
    FreeImage_Unload(reduced);
  }
  FreeImage_Unload(source);
  count_pixels(state);
}
#endif

#ifdef PEER_JPEG
const std::vector<uint8_t>& jpeg_file() {
  static const std::vector<uint8_t> file = [] {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = kWidth;
    info.image_height = kHeight;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 90, TRUE);
    jpeg_start_compress(&info, TRUE);
    for (int y = 0; y < kHeight; ++y) {
      auto* row = const_cast<uint8_t*>(bench::photograph().data()) +
                  size_t{3} * kWidth * static_cast<size_t>(y);
      jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const std::vector<uint8_t> result(bytes, bytes + size);
    std::free(bytes);
    return result;
  }();
  return file;
}

enum class Quantise { kNo, kNoDither, kFloydSteinberg };

void decode(Quantise how, std::vector<uint8_t>& out) {
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, jpeg_file().data(), jpeg_file().size());
  jpeg_read_header(&info, TRUE);
  if (how != Quantise::kNo) {
    info.quantize_colors = TRUE;
    info.desired_number_of_colors = 256;
    info.two_pass_quantize = TRUE;
    info.dither_mode = how == Quantise::kNoDither ? JDITHER_NONE : JDITHER_FS;
  }
  jpeg_start_decompress(&info);
  const size_t stride = static_cast<size_t>(info.output_components) * kWidth;
  while (info.output_scanline < info.output_height) {
    uint8_t* row = out.data() + info.output_scanline * stride;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
}

void libjpeg(benchmark::State& state, Quantise how) {
  std::vector<uint8_t> out(3 * kPixels);
  for (auto _ : state) decode(how, out);
  count_pixels(state);
}

// What the quantiser worked on.
const std::vector<uint8_t>& decoded() {
  static const std::vector<uint8_t> rows = [] {
    std::vector<uint8_t> out(3 * kPixels);
    decode(Quantise::kNo, out);
    return out;
  }();
  return rows;
}

void optimize_decoded(benchmark::State& state, uint32_t method) {
  optimize(state, decoded(), method);
}
BENCHMARK_CAPTURE(optimize_decoded, floyd_steinberg, T_DITHER_FLOYD_STEINBERG);
BENCHMARK_CAPTURE(libjpeg, decode_alone, Quantise::kNo);
BENCHMARK_CAPTURE(libjpeg, decode_and_two_pass, Quantise::kNoDither);
BENCHMARK_CAPTURE(libjpeg, decode_and_two_pass_floyd_steinberg, Quantise::kFloydSteinberg);
#endif

void optimize_photograph(benchmark::State& state, uint32_t method) {
  optimize(state, bench::photograph(), method);
}
BENCHMARK_CAPTURE(optimize_photograph, none, T_DITHER_NONE);
BENCHMARK_CAPTURE(optimize_photograph, floyd_steinberg, T_DITHER_FLOYD_STEINBERG);
BENCHMARK_CAPTURE(optimize_photograph, ordered, T_DITHER_ORDERED);
#ifdef PEER_FREEIMAGE
BENCHMARK(freeimage_wu);
#endif
BENCHMARK_CAPTURE(fine, none, T_DITHER_NONE)->Arg(16)->Arg(256);
BENCHMARK_CAPTURE(fine, floyd_steinberg, T_DITHER_FLOYD_STEINBERG)->Arg(256);
#ifdef PEER_IMAGEQUANT
BENCHMARK_CAPTURE(imagequant, none, 0.0f)->Arg(16)->Arg(256);
BENCHMARK_CAPTURE(imagequant, floyd_steinberg, 1.0f)->Arg(256);
#endif

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }
