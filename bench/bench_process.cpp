// Rotation, filters and adjustments of a 4096 x 3072 photograph beside OpenCV and libyuv; figures
// count its pixels. Each turn begins with the photograph, which is put back outside of the measured
// time: work in place would otherwise meet what it has left. The peers' results lie in memory that
// was there before.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "photograph.h"
#include "run.h"
#include "tavo45.h"

#ifdef PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef PEER_YUV
#include <libyuv.h>
#endif

namespace {

using bench::kHeight;
using bench::kWidth;

// A page for 1 bit: the photograph's noise makes specks on it.
std::vector<uint8_t> make_page() {
  std::vector<uint8_t> bits(size_t{kWidth} / 8 * kHeight, 0xFF);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const bool letter = y % 48 < 30 && (bench::noise(x / 5, y / 6, 7) & 3) == 0 && x % 24 < 18;
      const bool speck = bench::noise(x, y, 8) % 1500 == 0;
      if (letter || speck) {
        bits[size_t{y} * kWidth / 8 + x / 8] &= static_cast<uint8_t>(~(0x80u >> x % 8));
      }
    }
  }
  return bits;
}

const std::vector<uint8_t>& picture(int32_t bits) {
  static const std::vector<uint8_t> page = make_page();
  static const std::vector<uint8_t> four = [] {
    std::vector<uint8_t> pixels(4 * bench::kPixels);
    for (size_t i = 0; i < pixels.size(); ++i) {
      pixels[i] = i % 4 == 3 ? 7 : bench::photograph()[i / 4 * 3 + i % 4];
    }
    return pixels;
  }();
  return bits == 1    ? page
         : bits == 8  ? bench::gray_photograph()
         : bits == 24 ? bench::photograph()
                      : four;
}

using Ours = std::function<int32_t(BitmapHandle*)>;

void describe(BitmapHandle& bitmap, int32_t bits) {
  T_InitBitmap(&bitmap, kWidth, kHeight, bits);
  bitmap.ViewPerspective = 0;
  for (int i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(bits == 1 ? 255 * i : i);
    bitmap.Info.Palette[i] = {level, level, level, 0};
  }
}

void run_ours(benchmark::State& state, int32_t bits, const Ours& work) {
  const std::vector<uint8_t>& pixels = picture(bits);
  BitmapHandle bitmap = {};
  for (auto _ : state) {
    state.PauseTiming();
    if (bitmap.BitsPerPixel != bits || bitmap.Width != kWidth) {
      T_FreeBitmap(&bitmap);
      describe(bitmap, bits);
      T_AllocateBitmap(&bitmap, 1);
    }
    T_AccessBitmap(&bitmap);
    T_PutBitmapRow(&bitmap, pixels.data(), 0, static_cast<uint32_t>(pixels.size()));
    state.ResumeTiming();
    if (work(&bitmap) != T_OK) state.SkipWithError("failed");
  }
  T_FreeBitmap(&bitmap);
  bench::count_pixels(state);
}

void add(const std::string& name, int32_t bits, const Ours& work) {
  benchmark::RegisterBenchmark((name + "/" + std::to_string(bits) + "/Bitmap").c_str(), run_ours,
                               bits, work)
      ->Unit(benchmark::kMillisecond);
}

#ifdef PEER_OPENCV
using Theirs = std::function<void(const cv::Mat&, cv::Mat&)>;

void run_opencv(benchmark::State& state, int32_t bits, const Theirs& work) {
  cv::setNumThreads(1);
  const cv::Mat from = cv::Mat(kHeight, kWidth, CV_MAKETYPE(CV_8U, std::max(bits / 8, 1)));
  if (bits == 1) {
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const uint8_t byte = picture(1)[size_t{static_cast<unsigned>(y)} * kWidth / 8 + x / 8];
        from.data[size_t{static_cast<unsigned>(y)} * kWidth + x] =
            (byte >> (7 - x % 8) & 1) != 0 ? 0 : 255;
      }
    }
  } else {
    std::memcpy(from.data, picture(bits).data(), picture(bits).size());
  }
  cv::Mat to;
  work(from, to);
  for (auto _ : state) work(from, to);
  bench::count_pixels(state);
}

void add_opencv(const std::string& name, int32_t bits, const Theirs& work) {
  benchmark::RegisterBenchmark((name + "/" + std::to_string(bits) + "/OpenCV").c_str(), run_opencv,
                               bits, work)
      ->Unit(benchmark::kMillisecond);
}

cv::Mat sharpening() { return (cv::Mat_<float>(3, 3) << -1, -1, -1, -1, 9, -1, -1, -1, -1); }
#endif

// Kernels as they are met: a gradient, and one of no special form.
std::vector<int32_t> make_kernel(int32_t size) {
  std::vector<int32_t> kernel;
  for (int32_t i = 0; i < size * size; ++i) kernel.push_back((i * 7 + i / size * 3) % 11 - 3);
  return kernel;
}

void add_moves() {
  for (const int32_t bits : {1, 8, 24, 32}) {
    add("Rotate90", bits, [](BitmapHandle* b) { return T_RotateBitmap(b, 90); });
    if (bits == 1) continue;
    add("Rotate180", bits, [](BitmapHandle* b) { return T_RotateBitmap(b, 180); });
    add("Flip", bits, [](BitmapHandle* b) { return T_FlipBitmap(b); });
    add("Reverse", bits, [](BitmapHandle* b) { return T_ReverseBitmap(b); });
#ifdef PEER_OPENCV
    for (const auto& [name, code] : {std::pair("Rotate90", 0), {"Rotate180", 1}}) {
      add_opencv(name, bits,
                 [code = code](const cv::Mat& from, cv::Mat& to) { cv::rotate(from, to, code); });
    }
    for (const auto& [name, code] : {std::pair("Flip", 0), {"Reverse", 1}}) {
      add_opencv(name, bits,
                 [code = code](const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, code); });
    }
#endif
    if (bits == 32) continue;
    for (const uint32_t flags : {T_ROTATE_KEEP_SIZE, T_ROTATE_KEEP_SIZE | T_ROTATE_SMOOTH}) {
      const std::string name = (flags & T_ROTATE_SMOOTH) != 0 ? "Smooth" : "Nearest";
      for (const int32_t angle : {70, 3000}) {
        add(name + std::to_string(angle), bits,
            [=](BitmapHandle* b) { return T_RotateBitmapFine(b, angle, flags, 0xFFFFFF); });
#ifdef PEER_OPENCV
        add_opencv(name + std::to_string(angle), bits, [=](const cv::Mat& from, cv::Mat& to) {
          const cv::Mat turn =
              cv::getRotationMatrix2D({kWidth / 2 - 0.5f, kHeight / 2 - 0.5f}, -angle / 100.0, 1);
          cv::warpAffine(from, to, turn, from.size(),
                         (flags & T_ROTATE_SMOOTH) != 0 ? cv::INTER_LINEAR : cv::INTER_NEAREST);
        });
#endif
      }
    }
  }
#ifdef PEER_YUV
  benchmark::RegisterBenchmark("Rotate90/8/Libyuv", [](benchmark::State& state) {
    std::vector<uint8_t> to(bench::kPixels);
    for (auto _ : state) {
      libyuv::RotatePlane(picture(8).data(), kWidth, to.data(), kHeight, kWidth, kHeight,
                          libyuv::kRotate90);
    }
    bench::count_pixels(state);
  })->Unit(benchmark::kMillisecond);
#endif
}

void add_filters() {
  for (const int32_t bits : {8, 24}) {
    for (const int32_t size : {3, 15, 31}) {
      const std::string name = "Average" + std::to_string(size);
      add(name, bits, [=](BitmapHandle* b) { return T_AverageFilterBitmap(b, size); });
#ifdef PEER_OPENCV
      add_opencv(name, bits, [=](const cv::Mat& from, cv::Mat& to) {
        cv::blur(from, to, {size, size}, {-1, -1}, cv::BORDER_REPLICATE);
      });
#endif
    }
    for (const int32_t size : {3, 5, 7, 15}) {
      const std::string name = "Median" + std::to_string(size);
      add(name, bits, [=](BitmapHandle* b) { return T_MedianFilterBitmap(b, size); });
#ifdef PEER_OPENCV
      add_opencv(name, bits,
                 [=](const cv::Mat& from, cv::Mat& to) { cv::medianBlur(from, to, size); });
#endif
    }
    for (const int32_t size : {3, 5, 7}) {
      const std::string name = "Spatial" + std::to_string(size);
      const std::vector<int32_t> kernel = make_kernel(size);
      add(name, bits,
          [=](BitmapHandle* b) { return T_SpatialFilterBitmap(b, kernel.data(), size, 16, 0, 0); });
#ifdef PEER_OPENCV
      cv::Mat weights(size, size, CV_32F);
      for (int i = 0; i < size * size; ++i) {
        weights.at<float>(i / size, i % size) =
            static_cast<float>(kernel[static_cast<size_t>(i)]) / 16;
      }
      add_opencv(name, bits, [=](const cv::Mat& from, cv::Mat& to) {
        cv::filter2D(from, to, -1, weights, {-1, -1}, 0, cv::BORDER_REPLICATE);
      });
#endif
    }
    add("Sharpen", bits, [](BitmapHandle* b) { return T_SharpenBitmap(b, 1000); });
    add("Despeckle", bits, [](BitmapHandle* b) { return T_DespeckleBitmap(b, 1); });
    add("Mosaic8", bits, [](BitmapHandle* b) { return T_MosaicBitmap(b, 8); });
    for (const int32_t size : {3, 9}) {
      const std::string name = "Erode" + std::to_string(size);
      add(name, bits, [=](BitmapHandle* b) {
        return T_BinaryFilterBitmap(b, T_BINARY_ERODE, T_SHAPE_BOX, size);
      });
#ifdef PEER_OPENCV
      add_opencv(name, bits, [=](const cv::Mat& from, cv::Mat& to) {
        cv::erode(from, to, cv::Mat::ones(size, size, CV_8U));
      });
#endif
    }
#ifdef PEER_OPENCV
    add_opencv("Sharpen", bits, [](const cv::Mat& from, cv::Mat& to) {
      cv::filter2D(from, to, -1, sharpening(), {-1, -1}, 0, cv::BORDER_REPLICATE);
    });
    add_opencv("Mosaic8", bits, [](const cv::Mat& from, cv::Mat& to) {
      static cv::Mat small;
      cv::resize(from, small, {kWidth / 8, kHeight / 8}, 0, 0, cv::INTER_AREA);
      cv::resize(small, to, from.size(), 0, 0, cv::INTER_NEAREST);
    });
#endif
  }
  add("Despeckle12", 1, [](BitmapHandle* b) { return T_DespeckleBitmap(b, 12); });
  add("Erode9", 1, [](BitmapHandle* b) { return T_BinaryFilterBitmap(b, 0, 0, 9); });
  add("Median5", 1, [](BitmapHandle* b) { return T_MedianFilterBitmap(b, 5); });
#ifdef PEER_OPENCV
  add_opencv("Despeckle12", 1, [](const cv::Mat& from, cv::Mat& to) {
    cv::Mat labels, stats, centres;
    const int count = cv::connectedComponentsWithStats(from, labels, stats, centres, 8, CV_32S);
    std::vector<uint8_t> keep(static_cast<size_t>(count), 255);
    keep[0] = 0;
    for (int i = 1; i < count; ++i) {
      if (stats.at<int>(i, cv::CC_STAT_AREA) <= 12) keep[static_cast<size_t>(i)] = 0;
    }
    to.create(from.size(), CV_8U);
    for (int y = 0; y < kHeight; ++y) {
      const int* const label = labels.ptr<int>(y);
      uint8_t* const out = to.ptr<uint8_t>(y);
      for (int x = 0; x < kWidth; ++x) out[x] = keep[static_cast<size_t>(label[x])];
    }
  });
#endif
}

void add_adjustments() {
  for (const int32_t bits : {8, 24}) {
    add("Invert", bits, [](BitmapHandle* b) { return T_InvertBitmap(b); });
    add("Intensity", bits, [](BitmapHandle* b) { return T_ChangeBitmapIntensity(b, 200); });
    add("Contrast", bits, [](BitmapHandle* b) { return T_ChangeBitmapContrast(b, 300); });
    add("Posterize", bits, [](BitmapHandle* b) { return T_PosterizeBitmap(b, 6); });
    add("Equalize", bits, [](BitmapHandle* b) { return T_HistoEqualizeBitmap(b); });
    add("HalfTone", bits, [](BitmapHandle* b) { return T_HalfToneBitmap(b, 6, 45); });
#ifdef PEER_OPENCV
    add_opencv("Invert", bits, [](const cv::Mat& from, cv::Mat& to) { cv::bitwise_not(from, to); });
    add_opencv("Intensity", bits,
               [](const cv::Mat& from, cv::Mat& to) { cv::add(from, cv::Scalar::all(51), to); });
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i) table.data[i] = static_cast<uint8_t>(255 - i / 2);
    for (const char* name : {"Contrast", "Posterize"}) {
      add_opencv(name, bits,
                 [table](const cv::Mat& from, cv::Mat& to) { cv::LUT(from, table, to); });
    }
#endif
  }
  add("Hue", 24, [](BitmapHandle* b) { return T_ChangeBitmapHue(b, 77); });
  add("Saturation", 24, [](BitmapHandle* b) { return T_ChangeBitmapSaturation(b, 300); });
#ifdef PEER_OPENCV
  add_opencv("Equalize", 8, [](const cv::Mat& from, cv::Mat& to) { cv::equalizeHist(from, to); });
  add_opencv("Hue", 24, [](const cv::Mat& from, cv::Mat& to) {
    static cv::Mat hsv;
    cv::cvtColor(from, hsv, cv::COLOR_BGR2HSV_FULL);
    for (int y = 0; y < kHeight; ++y) {
      uint8_t* const row = hsv.ptr<uint8_t>(y);
      for (int x = 0; x < kWidth; ++x) row[3 * x] = static_cast<uint8_t>(row[3 * x] + 55);
    }
    cv::cvtColor(hsv, to, cv::COLOR_HSV2BGR_FULL);
  });
#endif
}

}  // namespace

int main(int argc, char** argv) {
  add_moves();
  add_filters();
  add_adjustments();
  return bench::run(argc, argv);
}
