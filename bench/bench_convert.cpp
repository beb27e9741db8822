// Row conversion beside OpenCV, libyuv and swscale, one thread.
//
// T_ConvertBuffer works in place; the peers go from one picture to another. "row" is one row of
// 4096 pixels in the cache. "picture" is 4096 x 3072 pixels, row by row for us and in one call
// for the peers; "copied" first copies each row to the destination, as a caller does who keeps the
// source. Times are processor time; compare within one run.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "color/nearest.h"
#include "run.h"
#include "tavo45.h"

#ifdef PEER_OPENCV
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef PEER_YUV
#include <libyuv.h>
#endif
#ifdef PEER_FFMPEG
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace {

// Aligned as OpenCV aligns its own pictures, so that all have the same.
template <class T>
struct LineAligned {
  using value_type = T;
  T* allocate(size_t count) {
    return static_cast<T*>(::operator new(count * sizeof(T), std::align_val_t(64)));
  }
  void deallocate(T* memory, size_t) { ::operator delete(memory, std::align_val_t(64)); }
  bool operator==(const LineAligned&) const = default;
};
using Bytes = std::vector<uint8_t, LineAligned<uint8_t>>;

constexpr int kWidth = 4096;
constexpr int kHeight = 3072;

struct Pair {
  const char* name;
  int in, out, order_in, order_out;
};

constexpr Pair kPairs[] = {
    {"24_to_24_swapped", 24, 24, T_ORDER_RGB, T_ORDER_BGR},
    {"24_to_32", 24, 32, T_ORDER_BGR, T_ORDER_BGR},
    {"32_to_24", 32, 24, T_ORDER_BGR, T_ORDER_BGR},
    {"24_to_gray", 24, 0, T_ORDER_BGR, 0},
    {"gray_to_24", 0, 24, 0, T_ORDER_BGR},
    {"8_to_24", 8, 24, 0, T_ORDER_BGR},
    {"8_to_32", 8, 32, 0, T_ORDER_BGR},
    {"24_to_16", 24, 16, T_ORDER_BGR, T_ORDER_BGR},
    {"16_to_24", 16, 24, T_ORDER_BGR, T_ORDER_BGR},
};

size_t row_bytes(int bits) { return size_t{kWidth} * (bits == 0 ? 8 : bits) / 8; }

// Smooth shapes with grain, as photographs have; the same bytes everywhere.
Bytes photograph(int height) {
  Bytes rows(size_t{3} * kWidth * height);
  std::mt19937 random(7);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const int waves[3] = {x / 16 + y / 24, x * 3 / 64 + (y & 511) / 4, (x ^ y) / 32 + y / 16};
      for (int i = 0; i < 3; ++i) {
        const int fold = waves[i] & 255;
        const int level = (waves[i] & 256) != 0 ? 255 - fold : fold;
        const int grain = static_cast<int>(random() % 13) - 6;
        rows[3 * (size_t{kWidth} * y + x) + i] =
            static_cast<uint8_t>(std::clamp(level * 3 / 4 + 32 + grain, 0, 255));
      }
    }
  }
  return rows;
}

// A photograph of the sample files when TAVO_CORPUS names their directory, otherwise the above.
Bytes photographic_rows(int count) {
#ifdef PEER_OPENCV
  if (const char* corpus = std::getenv("TAVO_CORPUS"); corpus != nullptr) {
    const cv::Mat photo = cv::imread(std::string(corpus) + "/sources/large-photo-4032x3024.jpg");
    if (!photo.empty()) {
      cv::Mat part;
      cv::resize(photo, part, {kWidth, kHeight}, 0, 0, cv::INTER_NEAREST);
      const int first = kHeight / 2 - count / 2;
      return Bytes(part.ptr(first), part.ptr(first) + size_t{3} * kWidth * count);
    }
  }
#endif
  return photograph(count);
}

// 256 different colours of the picture.
std::vector<T_PaletteEntry> palette_from(const Bytes& rows) {
  std::mt19937 random(3);
  std::vector<T_PaletteEntry> palette;
  while (palette.size() < 256) {
    const uint8_t* pixel = rows.data() + 3 * (random() % (rows.size() / 3));
    const auto is_known = [=](const T_PaletteEntry& e) {
      return e.Blue == pixel[0] && e.Green == pixel[1] && e.Red == pixel[2];
    };
    if (std::ranges::none_of(palette, is_known))
      palette.push_back({pixel[0], pixel[1], pixel[2], 0});
  }
  return palette;
}

Bytes random_bytes(size_t count) {
  std::mt19937 random(5);
  Bytes bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

const std::vector<T_PaletteEntry>& index_palette() {
  static const auto palette = palette_from(random_bytes(3000));
  return palette;
}

void report(benchmark::State& state, int rows) {
  state.counters["MP/s"] = benchmark::Counter(
      1e-6 * kWidth * rows * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void convert(uint8_t* row, const Pair& pair) {
  T_ConvertBuffer(row, kWidth, pair.in, pair.out, pair.order_in, pair.order_out,
                  index_palette().data(), nullptr);
}

void ours(benchmark::State& state, const Pair& pair, int rows) {
  const size_t stride = std::max(row_bytes(pair.in), row_bytes(pair.out));
  Bytes picture = random_bytes(stride * rows);
  for (auto _ : state) {
    for (int y = 0; y < rows; ++y) convert(picture.data() + stride * y, pair);
    benchmark::ClobberMemory();
  }
  report(state, rows);
}

void ours_copied(benchmark::State& state, const Pair& pair, int rows) {
  const size_t in = row_bytes(pair.in), out = row_bytes(pair.out);
  const Bytes source = random_bytes(in * rows);
  // A shrinking row is converted in a work row and then stored.
  Bytes target(out * rows), work(in);
  for (auto _ : state) {
    for (int y = 0; y < rows; ++y) {
      uint8_t* row = out >= in ? target.data() + out * y : work.data();
      std::memcpy(row, source.data() + in * y, in);
      convert(row, pair);
      if (out < in) std::memcpy(target.data() + out * y, row, out);
    }
    benchmark::ClobberMemory();
  }
  report(state, rows);
}

#ifdef PEER_OPENCV
int cv_type(int bits) {
  return bits == 24 ? CV_8UC3 : bits == 32 ? CV_8UC4 : bits == 16 ? CV_8UC2 : CV_8UC1;
}

int cv_code(const Pair& pair) {
  if (pair.in == 24 && pair.out == 24) return cv::COLOR_RGB2BGR;
  if (pair.in == 24 && pair.out == 32) return cv::COLOR_BGR2BGRA;
  if (pair.in == 32 && pair.out == 24) return cv::COLOR_BGRA2BGR;
  if (pair.in == 24 && pair.out == 0) return cv::COLOR_BGR2GRAY;
  if (pair.in == 0 && pair.out == 24) return cv::COLOR_GRAY2BGR;
  if (pair.in == 24 && pair.out == 16) return cv::COLOR_BGR2BGR555;
  return cv::COLOR_BGR5552BGR;
}

void opencv(benchmark::State& state, const Pair& pair, int rows) {
  cv::setNumThreads(1);
  Bytes source = random_bytes(row_bytes(pair.in) * rows);
  const cv::Mat in(rows, kWidth, cv_type(pair.in), source.data());
  cv::Mat out = cv::Mat::zeros(rows, kWidth, cv_type(pair.out));
  cv::Mat colors(256, 1, CV_8UC3);
  for (int i = 0; i < 256; ++i) std::memcpy(colors.ptr(i), &index_palette()[i], 3);
  for (auto _ : state) {
    if (pair.in == 8) {
      cv::applyColorMap(in, out, colors);
    } else {
      cv::cvtColor(in, out, cv_code(pair));
    }
    benchmark::ClobberMemory();
  }
  report(state, rows);
}
#endif

#ifdef PEER_FFMPEG
// Indices to colours.
void swscale(benchmark::State& state, const Pair& pair, int rows) {
  const AVPixelFormat to = pair.out == 24 ? AV_PIX_FMT_BGR24 : AV_PIX_FMT_BGRA;
  SwsContext* const context = sws_getContext(kWidth, rows, AV_PIX_FMT_PAL8, kWidth, rows, to,
                                             SWS_POINT, nullptr, nullptr, nullptr);
  const Bytes source = random_bytes(row_bytes(pair.in) * rows);
  Bytes target(row_bytes(pair.out) * rows);
  uint32_t colors[256];
  for (int i = 0; i < 256; ++i) std::memcpy(&colors[i], &index_palette()[i], 4);
  const uint8_t* planes[4] = {source.data(), reinterpret_cast<const uint8_t*>(colors)};
  const int strides[4] = {kWidth};
  uint8_t* targets[4] = {target.data()};
  const int target_strides[4] = {static_cast<int>(row_bytes(pair.out))};
  for (auto _ : state) {
    sws_scale(context, planes, strides, 0, rows, targets, target_strides);
    benchmark::ClobberMemory();
  }
  sws_freeContext(context);
  report(state, rows);
}
#endif

#ifdef PEER_YUV
using YuvCall = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

YuvCall yuv_call(const Pair& pair) {
  if (pair.in == 24 && pair.out == 24) return libyuv::RAWToRGB24;
  if (pair.in == 24 && pair.out == 32) return libyuv::RGB24ToARGB;
  if (pair.in == 32 && pair.out == 24) return libyuv::ARGBToRGB24;
  if (pair.in == 24 && pair.out == 0) return libyuv::RGB24ToJ400;
  return nullptr;
}

void yuv(benchmark::State& state, const Pair& pair, YuvCall call, int rows) {
  const size_t in = row_bytes(pair.in), out = row_bytes(pair.out);
  const Bytes source = random_bytes(in * rows);
  Bytes target(out * rows);
  for (auto _ : state) {
    call(source.data(), static_cast<int>(in), target.data(), static_cast<int>(out), kWidth, rows);
    benchmark::ClobberMemory();
  }
  report(state, rows);
}
#endif

// ---- 24 to 8 bits with a palette of the picture's own colours ----

constexpr int kSearchRows = 16;

void search_ours(benchmark::State& state) {
  const Bytes rows = photographic_rows(kSearchRows);
  const auto palette = palette_from(rows);
  Bytes row(3 * kWidth);
  for (auto _ : state) {
    for (int y = 0; y < kSearchRows; ++y) {
      std::memcpy(row.data(), rows.data() + row.size() * y, row.size());
      T_ConvertBuffer(row.data(), kWidth, 24, 8, T_ORDER_BGR, 0, nullptr, palette.data());
      benchmark::DoNotOptimize(row.data());
    }
  }
  report(state, kSearchRows);
}

// Every row with a palette not seen before: nothing learnt from one row helps the next.
void search_ours_new_palettes(benchmark::State& state) {
  const Bytes rows = photographic_rows(kSearchRows);
  auto palette = palette_from(rows);
  Bytes row(3 * kWidth);
  for (auto _ : state) {
    for (int y = 0; y < kSearchRows; ++y) {
      ++palette[y].Blue;
      std::memcpy(row.data(), rows.data() + row.size() * y, row.size());
      T_ConvertBuffer(row.data(), kWidth, 24, 8, T_ORDER_BGR, 0, nullptr, palette.data());
      benchmark::DoNotOptimize(row.data());
    }
  }
  report(state, kSearchRows);
}

void search_exhaustive(benchmark::State& state) {
  const Bytes rows = photographic_rows(kSearchRows);
  const auto palette = palette_from(rows);
  Bytes indices(kWidth);
  for (auto _ : state) {
    for (int y = 0; y < kSearchRows; ++y) {
      const uint8_t* in = rows.data() + size_t{3} * kWidth * y;
      for (int x = 0; x < kWidth; ++x) {
        indices[x] = static_cast<uint8_t>(
            tavo::color::nearest_color_plain(palette, in[3 * x + 2], in[3 * x + 1], in[3 * x]));
      }
      benchmark::DoNotOptimize(indices.data());
    }
  }
  report(state, kSearchRows);
}

void register_pair(const Pair& pair, const char* what, int rows) {
  const auto add = [&](const char* who, auto run) {
    const std::string name = std::string(what) + "/" + pair.name + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMicrosecond);
  };
  add("tavo", [=](benchmark::State& s) { ours(s, pair, rows); });
  add("tavo_copied", [=](benchmark::State& s) { ours_copied(s, pair, rows); });
#ifdef PEER_OPENCV
  if (pair.in != 8 || pair.out != 32)
    add("opencv", [=](benchmark::State& s) { opencv(s, pair, rows); });
#endif
#ifdef PEER_FFMPEG
  if (pair.in == 8) add("swscale", [=](benchmark::State& s) { swscale(s, pair, rows); });
#endif
#ifdef PEER_YUV
  const YuvCall call = yuv_call(pair);
  if (call != nullptr) add("libyuv", [=](benchmark::State& s) { yuv(s, pair, call, rows); });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  for (const Pair& pair : kPairs) register_pair(pair, "row", 1);
  for (const Pair& pair : kPairs) register_pair(pair, "picture", kHeight);
  benchmark::RegisterBenchmark("search/24_to_8/tavo", search_ours);
  benchmark::RegisterBenchmark("search/24_to_8/tavo_new_palettes", search_ours_new_palettes);
  benchmark::RegisterBenchmark("search/24_to_8/exhaustive", search_exhaustive);
  return bench::run(argc, argv);
}
