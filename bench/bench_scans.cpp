// Skew and content of a scanned page of 2480 x 3508 pixels, 1 bit, beside Leptonica's search for
// the skew with the reductions that it recommends. What either finds is shown in hundredths of a
// degree; the page's lines go down by 123.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "photograph.h"
#include "run.h"
#include "tavo45.h"
#ifdef PEER_LEPTONICA
#include <leptonica/allheaders.h>
#endif

namespace {

constexpr int kPageWidth = 2480;
constexpr int kPageHeight = 3508;
constexpr int kAngle = 123;

// Lines of blocks as large as letters, turned. Ones are paper.
void make_page(BitmapHandle& bitmap) {
  T_InitBitmap(&bitmap, kPageWidth, kPageHeight, 1);
  bitmap.ViewPerspective = 0;
  bitmap.Colors = 2;
  bitmap.Info.Palette[0] = {0, 0, 0, 0};
  bitmap.Info.Palette[1] = {255, 255, 255, 0};
  T_AllocateBitmap(&bitmap, 1);
  T_AccessBitmap(&bitmap);
  auto* const pixels = static_cast<uint8_t*>(bitmap.Data);
  std::memset(pixels, 255, bitmap.Size);
  for (uint32_t y = 300; y < 3200; ++y) {
    for (uint32_t x = 200; x < 2280; ++x) {
      if (y % 60 < 36 && x % 28 < 20 && (bench::noise(x / 7, y / 9, 7) & 3) != 0) {
        pixels[size_t{y} * bitmap.BytesPerLine + x / 8] &= static_cast<uint8_t>(~(0x80u >> x % 8));
      }
    }
  }
  T_RotateBitmapFine(&bitmap, kAngle, T_ROTATE_KEEP_SIZE, 0xFFFFFF);
  T_AccessBitmap(&bitmap);
}

BitmapHandle& page() {
  static BitmapHandle bitmap = T_EMPTY;
  if (bitmap.Data == nullptr) make_page(bitmap);
  return bitmap;
}

void skew(benchmark::State& state) {
  int32_t angle = 0;
  for (auto _ : state) {
    if (T_FindSkew(&page(), &angle) != T_OK) state.SkipWithError("failed");
  }
  state.counters["found"] = angle;
}
BENCHMARK(skew)->Unit(benchmark::kMillisecond);

void content(benchmark::State& state) {
  uint32_t area[4] = {};
  for (auto _ : state) {
    if (T_FindContent(&page(), area, area + 1, area + 2, area + 3) != T_OK) {
      state.SkipWithError("failed");
    }
  }
  state.counters["width"] = area[2];
}
BENCHMARK(content)->Unit(benchmark::kMillisecond);

#ifdef PEER_LEPTONICA
void leptonica_skew(benchmark::State& state) {
  PIX* pix = pixCreate(kPageWidth, kPageHeight, 1);
  for (int y = 0; y < kPageHeight; ++y) {
    const auto* row =
        static_cast<const uint8_t*>(page().Data) + page().BytesPerLine * static_cast<size_t>(y);
    for (int x = 0; x < kPageWidth; ++x) {
      if ((row[x / 8] >> (7 - x % 8) & 1) == 0) pixSetPixel(pix, x, y, 1);
    }
  }
  float angle = 0;
  float confidence = 0;
  for (auto _ : state) {
    if (pixFindSkewSweepAndSearch(pix, &angle, &confidence, 4, 2, 15, 1, 0.01f) != 0) {
      state.SkipWithError("failed");
    }
  }
  state.counters["found"] = -100.0 * static_cast<double>(angle);
  pixDestroy(&pix);
}
BENCHMARK(leptonica_skew)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

int main(int argc, char** argv) { return bench::run(argc, argv); }
